#pragma once

#include "Convert.h"
#include "document/DocumentWriter.h"

namespace ksmthgrp {

/// A `Counts`.
py::tuple countsTuple(const WavefrontOBJ::WriteCounts& counts);

}  // namespace ksmthgrp
