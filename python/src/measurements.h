// measurements.h: loudness and HDCD, for Python.
#pragma once

#include <nanobind/nanobind.h>

namespace tonekit::python {

void BindMeasurements(nanobind::module_ &module);

} // namespace tonekit::python
