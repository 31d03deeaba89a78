// kept_filters.cpp: which filters are kept, who uses them, and which make room for others.
#include "convert/soxr/kept_filters.h"

#include "convert/soxr/resampler_memory.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <utility>

namespace tonekit {

namespace {

// Filters of usual rates take a few hundred kilobytes, the longest some megabytes.
constexpr size_t kPlaces = 8;

// What filters depend on, byte by byte.
struct Key {
    static constexpr size_t kMost = 128;
    unsigned char bytes[kMost];
    size_t count;

    bool Equals(const void *other, size_t otherCount) const
    {
        return count == otherCount && std::memcmp(bytes, other, count) == 0;
    }
};

struct Place {
    Key key;
    void *filters; // null if the place is free
    DropFilters drop;
    uint64_t users;
    uint64_t lastUse;
};

class KeptFilters {
public:
    KeptFilters() = default;
    KeptFilters(const KeptFilters &) = delete;
    KeptFilters &operator=(const KeptFilters &) = delete;

    // Filters in use are their resamplers', which may outlive this.
    ~KeptFilters()
    {
        for (Place &place : places_)
            if (place.filters && place.users == 0)
                place.drop(std::exchange(place.filters, nullptr));
    }

    // Filters that are kept, with one user more, or null.
    void *Take(const void *key, size_t bytes)
    {
        const std::lock_guard guard(lock_);
        return TakeLocked(key, bytes);
    }

    // Keeps new filters with a first user, and returns those to use: another thread may have been faster.
    // Without a place the filters are their user's alone.
    void *Add(const void *key, size_t bytes, void *filters, DropFilters drop)
    {
        void *superfluous = nullptr;
        DropFilters dropSuperfluous = drop;
        {
            const std::lock_guard guard(lock_);
            if (void *const kept = TakeLocked(key, bytes)) {
                superfluous = std::exchange(filters, kept);
            } else if (Place *const place = bytes <= Key::kMost ? IdlePlace() : nullptr) {
                superfluous = place->filters;
                dropSuperfluous = place->drop;
                *place = {{}, filters, drop, 1, ++uses_};
                std::memcpy(place->key.bytes, key, bytes);
                place->key.count = bytes;
            }
        }
        if (superfluous)
            dropSuperfluous(superfluous);
        return filters;
    }

    void GiveBack(void *filters, DropFilters drop)
    {
        {
            const std::lock_guard guard(lock_);
            for (Place &place : places_)
                if (place.filters == filters) {
                    --place.users;
                    return;
                }
        }
        drop(filters);
    }

private:
    void *TakeLocked(const void *key, size_t bytes)
    {
        for (Place &place : places_)
            if (place.filters && place.key.Equals(key, bytes)) {
                ++place.users;
                place.lastUse = ++uses_;
                return place.filters;
            }
        return nullptr;
    }

    // A free place, else that of the filters that nobody has used for the longest time; null if all are in
    // use.
    Place *IdlePlace()
    {
        Place *best = nullptr;
        for (Place &place : places_)
            if (place.users == 0 && (!best || place.lastUse < best->lastUse))
                best = &place;
        return best;
    }

    std::mutex lock_;
    Place places_[kPlaces] = {}; // of a free one the last use is 0
    uint64_t uses_ = 0;
};

KeptFilters &Kept()
{
    static KeptFilters kept;
    return kept;
}

} // namespace

void GiveBackFilters(void *filters, DropFilters drop)
{
    Kept().GiveBack(filters, drop);
}

} // namespace tonekit

using namespace tonekit;

extern "C" {

void *tonekit_soxr_take_filters(const void *key, size_t bytes, void *(*make)(void *), void *argument,
                                DropFilters drop)
{
    void *filters = Kept().Take(key, bytes);
    if (!filters) {
        NewResamplerBlocks blocks;
        filters = make(argument);
        blocks.Keep();
        if (!filters)
            return nullptr;
        filters = Kept().Add(key, bytes, filters, drop);
    }
    NewResamplerBlocks::OfThisThread()->Use(filters, drop);
    return filters;
}

void tonekit_soxr_give_back_filters(void *filters, DropFilters drop)
{
    if (NewResamplerBlocks *const blocks = NewResamplerBlocks::OfThisThread())
        blocks->UseNoLonger(filters);
    GiveBackFilters(filters, drop);
}

} // extern "C"
