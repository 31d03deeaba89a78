// archives.h: what the conversion of a whole archive asks of the host beforehand, for Python.
#pragma once

#include <nanobind/nanobind.h>

namespace tonekit::python {

void BindArchives(nanobind::module_ &module);

} // namespace tonekit::python
