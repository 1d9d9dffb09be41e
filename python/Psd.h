#pragma once

#include "Convert.h"

namespace ksmthgrp {

/// `psd.read` and `psd.write`.
void addPsd(py::module_& module);

}  // namespace ksmthgrp
