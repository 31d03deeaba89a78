// measured_rows.h: the rows of benchmarks as lines of JSON, so that runs can be kept and compared.
#pragma once

#include <string>

namespace tonekit {

// Make, name, family and model of the processor, from CPUID: results are kept by it.
std::string ProcessorName();

// Appends a row to the file of a run, if there is one. Times are in seconds; a limit of 0 is none. Throws
// std::domain_error for a value that is no finite number, and std::runtime_error if the file can't be
// written.
struct MeasuredRow {
    std::string table;
    std::string name;
    double ours;
    double beside;
    double ratio;
    double limit;
};
void AppendRow(const std::string &file, const MeasuredRow &row);

} // namespace tonekit
