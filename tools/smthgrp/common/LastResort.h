#pragma once

#include <functional>

namespace smthgrp {

/// The exit status of `program`, which is all of the process's work. Where something is thrown out of it,
/// such as for want of memory to make the command line or to tell of another failure, a line that needs no
/// memory says so, and the exit status is that of a failure. The same holds where a destructor asks for
/// memory in vain; the temporary files of outputs are removed then.
int exitStatusOf(const std::function<int()>& program);

}  // namespace smthgrp
