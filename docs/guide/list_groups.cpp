// The groups of an OBJ file and how many faces each has. Argument: the file.
// Of the robot it prints first: head: 143 faces
#include <cstddef>
#include <cstdio>

#include "document/OBJDocument.h"

int main(int argc, char** argv) {
  using namespace WavefrontOBJ;
  if (argc < 2) return 2;
  OBJDocument document;
  if (const Result read = document.read(argv[1]); !read) {
    std::fprintf(stderr, "%s\n", read.text.c_str());
    return 1;
  }
  const OBJMembers faces = document.members(Division::group, ElementKind::face);
  for (std::size_t i = 0; i < document.groups().size(); ++i) {
    std::printf("%s: %zu faces\n", document.groups()[i].text.c_str(), faces.row(i).size());
  }
}
