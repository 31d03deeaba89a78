// files.h: the host's work on audio files, for Python.
#pragma once

#include <nanobind/nanobind.h>

namespace tonekit::python {

void BindFiles(nanobind::module_ &module);

} // namespace tonekit::python
