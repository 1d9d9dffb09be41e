#include "smthgrp/common/SafeOutput.h"

#include <filesystem>
#include <system_error>

#include "smthgrp/common/Failure.h"

namespace smthgrp {

void openOutput(WavefrontOBJ::Output& output, const std::string& input) {
  require(output.open());
  if (!output.isDirect()) return;
  const std::string target = output.isStandardOutput() ? "/dev/stdout" : output.path();
  std::error_code error;
  if (!std::filesystem::is_regular_file(target, error) || !std::filesystem::equivalent(target, input, error))
    return;
  throw Failure(output.name() + ": is the file that is read, and writing would destroy it");
}

void commitOutput(WavefrontOBJ::Output& output, std::string_view content) {
  require(output.write(content));
  require(output.commit());
}

void commitOutputs(std::span<const std::unique_ptr<WavefrontOBJ::Output>> outputs,
                   const std::function<void(std::size_t index)>& done) {
  std::size_t inPlace = 0;
  const auto count = [&](std::size_t index) {
    ++inPlace;
    if (done) done(index);
  };
  const WavefrontOBJ::Result result = WavefrontOBJ::Output::commitAll(outputs, count);
  if (result) return;
  if (outputs.size() == 1) throw Failure(result.text);
  const std::string text = result.text + "; ";
  if (inPlace == 0) throw Failure(text + "no file was changed");
  throw Failure(text + std::to_string(inPlace) + " of " + std::to_string(outputs.size()) +
                " files are written, the last of them " + outputs[inPlace - 1]->path());
}

std::unique_ptr<const WavefrontOBJ::NewFolder> makeFolder(const std::string& path) {
  auto folder = std::make_unique<const WavefrontOBJ::NewFolder>(path);
  if (folder->error()) throw systemFailure(path, folder->error().value());
  return folder;
}

}  // namespace smthgrp
