#include "smthgrp/plugin/PluginLibrary.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/sysinfo.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <type_traits>

#include "obj/OBJAssert.h"
#include "smthgrp/common/Failure.h"

namespace smthgrp {
namespace {

/// The header's declarations are only looked at, never called: all calls must be of one type.
template <class Type>
constexpr const char* callName(const char* name) {
  static_assert(std::is_same_v<Type, decltype(&Version)>);
  return name;
}
#define SMTHGRP_CALL(name) callName<decltype(&(name))>(#name)
constexpr const char* kCalls[] = {SMTHGRP_CALL(Version),
                                  SMTHGRP_CALL(LoadOBJFile),
                                  SMTHGRP_CALL(FreeOBJModel),
                                  SMTHGRP_CALL(ReplaceOBJVertices),
                                  SMTHGRP_CALL(GetOBJInfo),
                                  SMTHGRP_CALL(GetOBJGroupInfo),
                                  SMTHGRP_CALL(GetOBJSmoothGroupInfo),
                                  SMTHGRP_CALL(ExportOBJGroup),
                                  SMTHGRP_CALL(ExportOBJSmoothGroup),
                                  SMTHGRP_CALL(GetMesh3DInfo),
                                  SMTHGRP_CALL(SetMesh3DInfo),
                                  SMTHGRP_CALL(SetMesh3DFromOBJGroup),
                                  SMTHGRP_CALL(SetMesh3DFromOBJSmoothGroup),
                                  SMTHGRP_CALL(FileDelete),
                                  SMTHGRP_CALL(OpenFolder),
                                  SMTHGRP_CALL(GetFile),
                                  SMTHGRP_CALL(CloseFolder)};
#undef SMTHGRP_CALL

/// Static because the library's assertion handler is a plain function.
std::string& workedOnFile() {
  static std::string file;
  return file;
}

struct Limit {
  std::string_view function;
  std::string_view file;  ///< empty: any
  const char* sentence;
};
constexpr Limit kLimits[] = {
    {"addVertex", "", "a face has more than 88 corners, the most that the library takes"},
    {"read", "", "an s line follows after 256 smoothing groups, the most that the library takes"},
    {"write", "", "the file cannot be opened for writing"},
    {"WriteGroup", "", "the file cannot be opened for writing"},
    {"WriteSmoothingGroup", "", "the file cannot be opened for writing"},
    {"operator[]", "OBJVectorArray",
     "not written in full: the model has too many normals for its texture coordinates, the library can write "
     "only its groups one by one"},
    {"operator[]", "", "the library was asked for an element that the model does not have"}};

/// What the last failed assertion was about; empty for none.
std::string& limitReached() {
  static std::string sentence;
  return sentence;
}

/// What an assertion that has failed leaves the library's call by.
struct AtLimit {};

/// Instead of the library's own ending, which is a signal.
[[noreturn]] void leaveAtLimit(const char* function, const char* file, int /*line*/, const char* expression) {
  const auto* const limit = std::find_if(std::begin(kLimits), std::end(kLimits), [&](const Limit& row) {
    return row.function == function && (row.file.empty() || row.file == file);
  });
  limitReached() = limit != std::end(kLimits)
                       ? limit->sentence
                       : "the library stopped in " + std::string(function) + ": " + expression;
  throw AtLimit();
}

}  // namespace

PluginLibrary::PluginLibrary(const std::string& file) : plugin_(file) {
  model_ = static_cast<WavefrontOBJ::OBJModel**>(plugin_.symbol("gOBJModel"));
  const auto setHandler =
      reinterpret_cast<decltype(&OBJSetAssertionHandler)>(plugin_.symbol("OBJSetAssertionHandler"));
  setHandler(leaveAtLimit);
  freeModel_ = reinterpret_cast<Call>(plugin_.symbol("FreeOBJModel"));
  text_ = makeTextBuffer();
}

PluginLibrary::~PluginLibrary() {
  freeModel_(nullptr, 0.0, nullptr, 0, 0, 0, nullptr);
}

std::string PluginLibrary::defaultFile() {
  constexpr const char* kName = "libKSmthGrpImpt.so";
  std::error_code ignored;
  const std::filesystem::path folder = std::filesystem::read_symlink("/proc/self/exe", ignored).parent_path();
  const std::filesystem::path installed = folder / SMTHGRP_PLUGIN_FOLDER / kName;
  const bool isBeside = std::filesystem::exists(folder / kName, ignored);
  return (isBeside || !std::filesystem::exists(installed, ignored) ? folder / kName : installed).string();
}

bool PluginLibrary::isCall(std::string_view name) {
  return std::find(std::begin(kCalls), std::end(kCalls), name) != std::end(kCalls);
}

std::string PluginLibrary::callNames(const char* separator) {
  std::string names;
  for (const char* name : kCalls) names += (names.empty() ? "" : separator) + std::string(name);
  return names;
}

PluginLibrary::Answer PluginLibrary::call(std::string_view name, const char* text, double number,
                                          void* hostData) {
  const auto function = reinterpret_cast<Call>(plugin_.symbol(std::string(name).c_str()));
  *text_ = '\0';
  limitReached().clear();
  const float value = function(text, number, text_.get(), 0, 0, 0, hostData);
  if (!limitReached().empty()) throw Failure(workedOnFile() + ": " + limitReached());
  return {value, text_.get()};
}

void PluginLibrary::workOn(std::string_view file) {
  workedOnFile() = file;
}

std::uint32_t PluginLibrary::exactCount(float answer, std::uint32_t field) {
  constexpr float kLargestExact = 16777216.0F;
  return answer < kLargestExact ? static_cast<std::uint32_t>(answer) : field;
}

/// Calls copy texts into the buffer without a limit, and the text of a failed read holds a message for each
/// line passed over. It cannot be longer than the memory that the library keeps it in, so that address space
/// for all of the machine's memory is enough; pages that no text reaches cost nothing.
std::unique_ptr<char, PluginLibrary::Unmap> PluginLibrary::makeTextBuffer() {
  constexpr std::size_t kLeast = std::size_t{1} << 20U;
  struct sysinfo info {};
  std::size_t bytes = std::size_t{1} << 30U;
  if (sysinfo(&info) == 0) bytes = std::max(bytes, (info.totalram + info.totalswap) * info.mem_unit);
  // A text of more than two fifths could not have grown to it, as its old and its new memory are there at
  // once.
  rlimit limit{};
  if (getrlimit(RLIMIT_AS, &limit) == 0 && limit.rlim_cur != RLIM_INFINITY) {
    bytes = std::min(bytes, static_cast<std::size_t>(limit.rlim_cur / 5 * 2));
  }
  for (; bytes >= kLeast; bytes /= 2) {
    void* const memory =
        mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory != MAP_FAILED) return {static_cast<char*>(memory), Unmap{bytes}};
  }
  throw Failure("not enough memory");
}

void PluginLibrary::Unmap::operator()(char* memory) const {
  munmap(memory, bytes);
}

}  // namespace smthgrp
