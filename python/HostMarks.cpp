#include "HostMarks.h"

#include <algorithm>
#include <array>
#include <new>

#include "obj/OBJAssert.h"

namespace ksmthgrp {

using namespace WavefrontOBJ;

Result HostMarks::read(const OBJDocument& document, const Progress& progress,
                       std::unique_ptr<HostMarks>& marks) {
  const Source& source = document.source();
  const std::string begin = source.name() + ": ";
  std::uint64_t at = 0;
  const auto next = [&](char* buffer, std::size_t room) {
    if (!progress(static_cast<double>(at) / std::max(1.0, static_cast<double>(source.size()))))
      throw Result(Status::cancelled, begin + "cancelled");
    const auto bytes = static_cast<std::size_t>(std::min<std::uint64_t>(room, source.size() - at));
    Result result = source.read(at, buffer, bytes);
    if (!result) throw std::move(result);
    at += bytes;
    return bytes;
  };
  auto made = std::make_unique<HostMarks>();
  try {
    const OBJAnsweredAssertions answered;
    if (!made->model_.read(next, source.name(), false)) {
      std::string text = made->model_._errorMessage;
      if (text == "Out of memory.") return {Status::outOfMemory, begin + text};
      text.resize(std::min(text.size(), text.find('\n')));
      return {Status::notText, begin + "the host cannot read it: " + text};
    }
  } catch (const OBJFailedAssertion& assertion) {
    std::array<char, 256> buffer{};
    return {Status::notText, begin + "reading it ends the host: " + std::string(assertion.text(buffer))};
  } catch (const Result& failure) {
    return failure;
  }
  marks = std::move(made);
  return {};
}

std::optional<MarkedGroup> HostMarks::find(const Group& group) const {
  if (group.smoothing) {
    const std::uint32_t* const end = model_._smoothingGroups + model_._smoothingGroupCount;
    const std::uint32_t* const found = std::find(model_._smoothingGroups, end, *group.smoothing);
    if (found == end) return std::nullopt;
    return MarkedGroup{static_cast<std::uint32_t>(found - model_._smoothingGroups), true};
  }
  const auto found = std::find(model_._groupNames.begin(), model_._groupNames.end(), group.name);
  if (found == model_._groupNames.end()) return std::nullopt;
  return MarkedGroup{static_cast<std::uint32_t>(found - model_._groupNames.begin()), false};
}

std::optional<std::vector<std::uint8_t>> HostMarks::mask(const Group& group, std::uint8_t value) {
  const auto found = find(group);
  if (!found) return std::nullopt;
  std::vector<std::uint8_t> mask(model_._vertices->count);
  maskGroup({mask.data(), 1, model_._vertices->count}, model_, *found, value);
  return mask;
}

std::optional<std::vector<std::uint8_t>> HostMarks::creases(const Group& group) {
  const std::lock_guard lock(mutex_);
  const auto found = find(group);
  if (!found) return std::nullopt;
  std::vector<std::uint8_t> creases(model_._faces->count);
  if (!creaseGroup({creases.data(), 1, model_._faces->count}, model_, *found)) throw std::bad_alloc();
  return creases;
}

}  // namespace ksmthgrp
