// image.h: scaling of pictures, for Python.
#pragma once

#include <nanobind/nanobind.h>

namespace tonekit::python {

void BindImage(nanobind::module_ &module);

} // namespace tonekit::python
