#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>

#include "document/NewFolder.h"
#include "document/Output.h"

namespace smthgrp {

/// Opens the output. Throws a Failure when nothing can be written at its path, and when it would go straight
/// into `input` while that is read: standard output may be the file.
void openOutput(WavefrontOBJ::Output& output, const std::string& input);

/// Writes `content` to the output and puts it in its place. Throws a Failure.
void commitOutput(WavefrontOBJ::Output& output, std::string_view content);

/// Flushes all outputs to disk, then puts one after the other in its place and calls `done` with its index. A
/// Failure says how many are in their places.
void commitOutputs(std::span<const std::unique_ptr<WavefrontOBJ::Output>> outputs,
                   const std::function<void(std::size_t index)>& done = {});

/// Makes the folder at `path`, and those that it lies in. To be kept until the files in it are in their
/// places.
[[nodiscard]] std::unique_ptr<const WavefrontOBJ::NewFolder> makeFolder(const std::string& path);

}  // namespace smthgrp
