// new_text.h: memory for texts that are returned to callers.
#pragma once

#include "frame/allocator.h"

#include <cstddef>
#include <memory>

namespace tonekit {

struct ReleaseText {
    void operator()(void *text) const noexcept { Release(text); }
};

// A text of the library's heap until its release() passes it to the caller.
template <class Unit>
using OwnedText = std::unique_ptr<Unit[], ReleaseText>;

// Room for some units and a terminator, which is set. Throws as the allocator does.
template <class Unit>
OwnedText<Unit> NewText(size_t units)
{
    OwnedText<Unit> text(static_cast<Unit *>(Allocate((units + 1) * sizeof(Unit))));
    text[units] = 0;
    return text;
}

} // namespace tonekit
