#pragma once

#include <string>

#include "Results.h"
#include "SheetFiles.h"

namespace bench {

/// Prints what the results say side by side, and the memory of the compared sheet as `memoryProgram` reports
/// it. Benchmarks that did not run show as "-".
void printSummary(const Results& results, SheetFiles& files, const std::string& memoryProgram);

}  // namespace bench
