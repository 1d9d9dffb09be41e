#include "smthgrp/model/HostGroups.h"

#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string_view>

#include "smthgrp/common/Failure.h"
#include "smthgrp/common/FileDescriptor.h"
#include "smthgrp/plugin/CurrentModel.h"

namespace smthgrp {
namespace {

using WavefrontOBJ::FindingKind;
using WavefrontOBJ::OBJDocument;

/// Findings that leave the host with the groups that the document has.
constexpr FindingKind kHarmless[] = {
    FindingKind::nameNotUtf8,         FindingKind::repeatedCorner,  FindingKind::extraNumbers,
    FindingKind::severalGroups,       FindingKind::objectName,      FindingKind::severalLibraries,
    FindingKind::smoothingMalformed,  FindingKind::includedFile,    FindingKind::continuedComment,
    FindingKind::smoothingNumberWide, FindingKind::oneTextureValue, FindingKind::nameWithBlank,
    FindingKind::smoothingZero};

bool mayDiffer(const OBJDocument& document) {
  return std::any_of(std::begin(WavefrontOBJ::kFindingKinds), std::end(WavefrontOBJ::kFindingKinds),
                     [&](const WavefrontOBJ::FindingRow& row) {
                       const auto* const end = std::end(kHarmless);
                       return document.findings().count(row.kind) > 0 &&
                              std::find(std::begin(kHarmless), end, row.kind) == end;
                     });
}

void writeAll(int file, std::string_view text) {
  while (!text.empty()) {
    const ssize_t written = write(file, text.data(), text.size());
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) throw systemFailure("writing");
    text.remove_prefix(static_cast<std::size_t>(written));
  }
}

std::string readAll(int file) {
  std::string text;
  char chunk[4096];
  for (;;) {
    const ssize_t got = read(file, chunk, sizeof chunk);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0) throw systemFailure("reading");
    if (got == 0) return text;
    text.append(chunk, static_cast<std::size_t>(got));
  }
}

/// What came in on standard input, as a file. The plug-in reads by path.
void fill(int file, const WavefrontOBJ::Source& source) {
  std::string text(std::size_t{64} * 1024, '\0');
  for (std::uint64_t at = 0; at < source.size(); at += text.size()) {
    text.resize(static_cast<std::size_t>(std::min<std::uint64_t>(text.size(), source.size() - at)));
    require(source.read(at, text.data(), text.size()));
    writeAll(file, text);
  }
}

/// Prints the names, each with a NUL behind it, to `to`, or the reason to standard error.
[[noreturn]] void loadAndEnd(const PluginOptions& plugin, const std::string& path, int to) {
  dup2(to, STDERR_FILENO);
  try {
    PluginLibrary library(plugin.file);
    loadModel(library, path);
    std::string text;
    for (const std::string& name : groupNames(library)) text += name + '\0';
    writeAll(to, text);
    std::_Exit(EXIT_SUCCESS);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "%s\n", error.what());
    std::_Exit(EXIT_FAILURE);
  }
}

/// The reason without what the tool puts in front.
std::string reasonOf(std::string text, const std::string& path) {
  const std::size_t name = text.find(path + ": ");
  if (name != std::string::npos) text.erase(0, name + path.size() + 2);
  text.resize(std::min(text.size(), text.find('\n')));
  return text;
}

}  // namespace

HostGroups hostGroups(const PluginOptions& plugin, const OBJDocument& document) {
  HostGroups host;
  const WavefrontOBJ::Findings& findings = document.findings();
  if (!mayDiffer(document)) {
    for (const WavefrontOBJ::OBJName& group : document.groups()) host.names.push_back(group.text);
    return host;
  }
  if (findings.count(FindingKind::smoothingTableFull) > 0) {
    // The library would make its log file in the current folder.
    host.error = rowOf(FindingKind::smoothingTableFull).text;
    return host;
  }
  const FileDescriptor copy(document.source().isHeld() ? memfd_create("smthgrp", 0) : -1);
  std::string path = document.source().name();
  if (document.source().isHeld()) {
    if (copy < 0) throw systemFailure(path);
    fill(copy, document.source());
    path = "/proc/self/fd/" + std::to_string(copy);
  }
  int ends[2];
  if (pipe(ends) != 0) throw systemFailure(path);
  const FileDescriptor from(ends[0]);
  std::fflush(nullptr);
  const pid_t child = fork();
  if (child == 0) loadAndEnd(plugin, path, ends[1]);
  close(ends[1]);
  if (child < 0) throw systemFailure(path);
  std::string text;
  try {
    text = readAll(from);
  } catch (const Failure& failure) {
    host.error = failure.what();
  }
  int status = 0;
  while (waitpid(child, &status, 0) < 0 && errno == EINTR) continue;
  if (!host.error.empty()) return host;
  if (!WIFEXITED(status) || WEXITSTATUS(status) != EXIT_SUCCESS) {
    host.error = reasonOf(text, path);
    if (host.error.empty()) host.error = "the library stopped";
    return host;
  }
  for (std::size_t begin = 0; begin < text.size();) {
    const std::size_t end = text.find('\0', begin);
    host.names.push_back(text.substr(begin, end - begin));
    begin = end + 1;
  }
  return host;
}

}  // namespace smthgrp
