#pragma once

#include <span>

#include "KSmthExport.h"
#include "document/DocumentWriter.h"
#include "document/OBJDocument.h"
#include "document/Result.h"
#include "document/Sink.h"

namespace WavefrontOBJ {

/// Writes `model` with the positions of `positions`, digit by digit: the first three numbers of its vertex
/// lines. What stands behind them (a weight, a colour) is the model's. With fewer vertices in `positions` the
/// others keep theirs. Whether the two fit is for the caller to ask, see `compareTopology`.
KSMTH_API Result writeWithPositions(const OBJDocument& model, const OBJDocument& positions,
                                    WriteOptions options, Sink& sink, WriteCounts* counts = nullptr);

/// The same with x, y and z of each vertex, finite numbers, in as many digits as it takes to read the very
/// numbers again.
KSMTH_API Result writeWithPositions(const OBJDocument& model, std::span<const double> xyz,
                                    WriteOptions options, Sink& sink, WriteCounts* counts = nullptr);
KSMTH_API Result writeWithPositions(const OBJDocument& model, std::span<const float> xyz,
                                    WriteOptions options, Sink& sink, WriteCounts* counts = nullptr);

}  // namespace WavefrontOBJ
