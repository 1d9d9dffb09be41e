#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TestSupport.h"

/// Words that make lines of every kind, right and wrong.
inline std::string randomText(Random& random) {
  const std::vector<std::string> words = {
      "v",     "vt",   "vn",       "vp",      "f",      "f",     "f",    "f",          "l",   "p",
      "g",     "s",    "o",        "usemtl",  "mtllib", "#",     "curv", "surf",       "sp",  "F",
      "xyz",   "call", "1",        "2",       "3",      "4",     "-1",   "-2",         "0",   "1/1",
      "2/2/2", "3//3", "-1/-1/-1", "1/",      "2//",    "/1",    "off",  "7",          "1.5", "99999999999",
      "a",     "b",    "default",  "4/4/4/4", "+2",     "12/12", "\\",   "00000000003"};
  const std::vector<std::string> ends = {"\n",   "\n",  "\n",     "\n",       "\r\n",   "\r",
                                         "\\\n", " \n", "\\\r\n", " \\\n \t", " #4 2\n"};
  std::string text = below(random, 8) == 0 ? "\xEF\xBB\xBF" : "";
  const std::uint32_t lines = below(random, 40);
  for (std::uint32_t i = 0; i < lines; ++i) {
    switch (below(random, 6)) {
      case 0:
        text += "v " + std::to_string(i) + " 0 0";
        break;
      case 1:
        text += std::string(below(random, 2) != 0 ? "vt " : "vn ") + std::to_string(i) + " 1";
        break;
      case 2: {
        text += "f";
        const std::uint32_t corners = 2 + below(random, 18);
        const std::uint32_t form = below(random, 5);
        for (std::uint32_t c = 0; c < corners; ++c) {
          const std::string v = std::to_string(1 + below(random, i / 2 + 1));
          const std::string t = std::to_string(1 + below(random, i / 8 + 1));
          text += " " + v + (form == 0 ? "" : form == 1 ? "/" + t : form == 2 ? "//" + t : "/" + t + "/" + t);
        }
        break;
      }
      case 3:
        text += below(random, 2) != 0 ? "g a" : "g b";
        break;
      case 4:
        text += words[below(random, 14)];
        [[fallthrough]];
      default:
        for (std::uint32_t w = below(random, 6); w > 0; --w) {
          text += (below(random, 9) == 0 ? "\t" : " ") +
                  words[below(random, static_cast<std::uint32_t>(words.size()))];
        }
    }
    text += ends[below(random, below(random, 3) == 0 ? static_cast<std::uint32_t>(ends.size()) : 4)];
  }
  return text;
}
