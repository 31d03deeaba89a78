// element_address.h: the address of an element of a buffer that may be empty.
#pragma once

#include <cstddef>

namespace tonekit {

// Returns null for a null buffer, such as that of an empty vector, to which no offset may be added.
template <class T>
T *ElementAddress(T *buffer, ptrdiff_t index)
{
    return buffer ? buffer + index : nullptr;
}

} // namespace tonekit
