#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "host/Plugin.h"
#include "obj/OBJModel.h"
#include "plugin/KOBJRev01.h"

namespace smthgrp {

/// The plug-in, loaded by file name and called by name as the host does it. It keeps one current model.
class PluginLibrary {
 public:
  struct Answer {
    float value;
    std::string_view text;  ///< what the call left in its text buffer; valid until the next call
  };

  explicit PluginLibrary(const std::string& file);
  PluginLibrary(const PluginLibrary&) = delete;
  PluginLibrary& operator=(const PluginLibrary&) = delete;
  /// Frees the current model. The library stays loaded until the process ends.
  ~PluginLibrary();

  /// `libKSmthGrpImpt.so` in the folder of this program or else, where it is installed, in the prefix.
  static std::string defaultFile();
  /// True for the name of a plug-in call.
  static bool isCall(std::string_view name);
  /// The names of all calls.
  static std::string callNames(const char* separator);

  /// Makes one call. Where it fails an assertion of the library, it throws a Failure with a sentence that
  /// names the file being worked on. `hostData` is the host's table of object pointers, null for a host
  /// without.
  Answer call(std::string_view name, const char* text = nullptr, double number = 0.0,
              void* hostData = nullptr);
  /// Names the file that the following calls work on.
  static void workOn(std::string_view file);

  /// The current model, null for none: for what the calls cannot answer.
  const WavefrontOBJ::OBJModel* model() const { return *model_; }

  /// The count that the call answered: `field`, which holds the same, once the answer is too large for a
  /// float to tell it from its neighbours.
  static std::uint32_t exactCount(float answer, std::uint32_t field);

 private:
  using Call = decltype(&Version);

  struct Unmap {
    std::size_t bytes;
    void operator()(char* memory) const;
  };

  static std::unique_ptr<char, Unmap> makeTextBuffer();

  host::Plugin plugin_;
  Call freeModel_ = nullptr;
  WavefrontOBJ::OBJModel** model_ = nullptr;
  std::unique_ptr<char, Unmap> text_;
};

}  // namespace smthgrp
