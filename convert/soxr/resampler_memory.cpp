// resampler_memory.cpp: the heap that libsoxr is compiled with.
#include "convert/soxr/resampler_memory.h"

#include "frame/allocator.h"
#include "frame/platform.h"

#include <cstdint>
#include <cstdlib>
#include <new>
#include <shared_mutex>

namespace tonekit {

namespace {

// SIZE_MAX, which no allocator returns, for more than there can be.
size_t WithHeader(size_t bytes)
{
    return bytes > SIZE_MAX - sizeof(ResamplerBlock) ? SIZE_MAX : bytes + sizeof(ResamplerBlock);
}

ResamplerBlock *BlockOf(void *memory)
{
    return static_cast<ResamplerBlock *>(memory) - 1;
}

void Unlink(ResamplerBlock *block)
{
    block->previous->next = block->next;
    block->next->previous = block->previous;
}

void *LinkIntoThread(void *memory)
{
    ResamplerBlock *const ring = &NewResamplerBlocks::OfThisThread()->ring();
    auto *block = static_cast<ResamplerBlock *>(memory);
    block->previous = ring;
    block->next = ring->next;
    ring->next->previous = block;
    ring->next = block;
    return block + 1;
}

std::shared_mutex &TablesLock()
{
    static std::shared_mutex lock;
    return lock;
}

} // namespace

NewResamplerBlocks::NewResamplerBlocks() : outer_(OfThisThread())
{
    if (!SetThreadPointer(this))
        throw std::bad_alloc();
}

NewResamplerBlocks::~NewResamplerBlocks()
{
    SetThreadPointer(outer_);
    if (filters_)
        GiveBackFilters(filters_, drop_);
    while (ring_.next != &ring_) {
        ResamplerBlock *block = ring_.next;
        Unlink(block);
        Release(block);
    }
}

NewResamplerBlocks *NewResamplerBlocks::OfThisThread()
{
    return static_cast<NewResamplerBlocks *>(ThreadPointer());
}

void NewResamplerBlocks::Use(void *filters, DropFilters drop)
{
    filters_ = filters;
    drop_ = drop;
}

void NewResamplerBlocks::UseNoLonger(void *filters)
{
    if (filters_ == filters)
        filters_ = nullptr;
}

void NewResamplerBlocks::Keep()
{
    filters_ = nullptr;
    Unlink(&ring_);
    ring_ = {&ring_, &ring_};
}

} // namespace tonekit

using namespace tonekit;

extern "C" {

void *tonekit_soxr_malloc(size_t bytes)
{
    return LinkIntoThread(Allocate(WithHeader(bytes)));
}

void *tonekit_soxr_calloc(size_t count, size_t bytes)
{
    size_t product = 0;
    if (__builtin_mul_overflow(count, bytes, &product))
        product = SIZE_MAX;
    return LinkIntoThread(AllocateZeroed(WithHeader(product)));
}

// A block that moves has new neighbours' pointers; no memory leaves it as it was.
void *tonekit_soxr_realloc(void *memory, size_t bytes)
{
    if (!memory)
        return tonekit_soxr_malloc(bytes);
    auto *block = static_cast<ResamplerBlock *>(Reallocate(BlockOf(memory), WithHeader(bytes)));
    block->previous->next = block;
    block->next->previous = block;
    return block + 1;
}

void tonekit_soxr_free(void *memory)
{
    if (!memory)
        return;
    Unlink(BlockOf(memory));
    Release(BlockOf(memory));
}

void tonekit_soxr_share_tables()
{
    TablesLock().lock_shared();
}

void tonekit_soxr_cease_sharing_tables()
{
    TablesLock().unlock_shared();
}

void tonekit_soxr_own_tables()
{
    TablesLock().lock();
}

void tonekit_soxr_cease_owning_tables()
{
    TablesLock().unlock();
}

void *tonekit_soxr_grow_table(void *table, size_t bytes)
{
    return std::realloc(table, bytes);
}

void tonekit_soxr_free_table(void *table)
{
    std::free(table);
}

void tonekit_soxr_give_up_growing()
{
    TablesLock().unlock();
    throw std::bad_alloc();
}

} // extern "C"
