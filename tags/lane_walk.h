// lane_walk.h: walks over string items by their length fields, from several places at once. For tier units
// only.
#pragma once

#include "frame/tier.h"
#include "tags/count_zeros.h"
#include "tags/item.h"
#include "tags/wanted_key.h"

#include <cstring>
#include <immintrin.h>

namespace tonekit::TONEKIT_TIER {
namespace {

// Bit i says whether at[i] is 0.
inline uint32_t ZerosIn16(const uint8_t *at)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

// The common item has a payload below 256 bytes, so that four bytes of its header are zero, and a key
// below 15 or, where its end is looked for without BMI2, 16.
constexpr uint32_t kMostCommonLength = 255;
constexpr ptrdiff_t kMostCommonBytes = kHeaderBytes + kMostCommonLength;
constexpr uint64_t kCommonZeros = 4 + 2;

// Whether a text ends in the first bytes of an item's payload of a common length, and before its last byte.
inline bool HasKey(const uint8_t *item, uint32_t length)
{
#ifdef __BMI2__
    // Bit 0 is the uppermost byte of the length, which is 0; so many bits as the length says are that one and
    // those of all payload bytes but the last.
    return _bzhi_u32(ZerosIn16(item + kHeaderBytes - 1), length) > 1;
#else
    const uint32_t zeros = ZerosIn16(item + kHeaderBytes);
    return zeros != 0 && static_cast<uint32_t>(__builtin_ctz(zeros)) + 1 < length;
#endif
}

// Passes a string item, one that is common, by its length, unless it may have the wanted key or no string
// item follows. That its marker is right and that it ends before the bytes in use do has been seen before.
[[gnu::always_inline]] inline bool PassCommon(const WantedKey &key, const uint8_t *&item)
{
    const uint32_t length = ReadLength(item + 1);
    if (key.MayBeKeyOf(item) || length > kMostCommonLength || !HasKey(item, length))
        return false;
    const uint8_t *const next = item + kHeaderBytes + length;
    uint16_t lastByteAndMarker;
    memcpy(&lastByteAndMarker, next - 1, sizeof lastByteAndMarker);
    static_assert(kStringMarker == 0);
    if (lastByteAndMarker != 0)
        return false;
    item = next;
    return true;
}

// The room after an item's start that PassCommon looks at before it knows the item's length.
uint64_t FirstLook(const WantedKey &key)
{
    constexpr uint64_t kLeast = kHeaderBytes + 16;
    return key.WindowEnd() > kLeast ? key.WindowEnd() : kLeast;
}

// A walk by the length fields from one place.
struct Lane {
    const uint8_t *at;  // the item to look at next
    const uint8_t *end; // the walk ends at the first item here or after
    uint64_t zeros;     // zero bytes of the items walked over, if all are what their lengths say
    bool found;         // the item at `at` has the wanted key
    bool stuck;         // found, or there is no whole string item at `at`

    bool Goes() const { return !stuck && at < end; }
};

// Passes a string item that isn't common, text by text.
[[gnu::noinline]] void StepByText(const TagBlock *block, const WantedKey &key, Lane &lane)
{
    StringItem item;
    lane.found = key.IsKeyOf(lane.at);
    lane.stuck = lane.found || *lane.at != kStringMarker ||
                 !ReadStringItem(block, static_cast<uint32_t>(lane.at - block->buffer), &item);
    if (!lane.stuck) {
        lane.zeros += CountZerosBytewise(lane.at, lane.at + kHeaderBytes) + 2;
        lane.at = block->buffer + item.next;
    }
}

// Passes any string item.
inline void Step(const TagBlock *block, const WantedKey &key, Lane &lane)
{
    const uint8_t *const end = block->buffer + block->used;
    const bool isFollowed = ReadLength(lane.at + 1) < end - lane.at - kHeaderBytes;
    if (*lane.at == kStringMarker && isFollowed && PassCommon(key, lane.at))
        lane.zeros += kCommonZeros;
    else
        StepByText(block, key, lane);
}

// A lane waits most of the time for the length that it reads, so this many share the time.
constexpr int kLanes = 4;

// So many steps over common items all lanes can take without passing their ends; none if one isn't at a
// string item.
ptrdiff_t SafeSteps(const uint8_t *const *at, const Lane *lanes)
{
    ptrdiff_t least = PTRDIFF_MAX;
    for (int i = 0; i < kLanes; ++i) {
        const bool atString = !lanes[i].stuck && *at[i] == kStringMarker;
        const ptrdiff_t safe = atString ? (lanes[i].end - at[i]) / kMostCommonBytes : 0;
        least = safe < least ? safe : least;
    }
    return least;
}

// Walks all lanes at once while they are over common items, all of them string items, and none near its end.
void WalkAbreast(const WantedKey &key, Lane *lanes)
{
    const uint8_t *at[kLanes];
    for (int i = 0; i < kLanes; ++i)
        at[i] = lanes[i].at;
    uint64_t steps = 0;
    bool common = true;
    while (common) {
        ptrdiff_t safe = SafeSteps(at, lanes);
        if (safe <= 0)
            break;
        for (; safe > 0; --safe, ++steps) {
            const uint8_t *next[kLanes];
#pragma GCC unroll 4
            for (int i = 0; i < kLanes; ++i) {
                next[i] = at[i];
                common = common && PassCommon(key, next[i]);
            }
            if (!common)
                break;
#pragma GCC unroll 4
            for (int i = 0; i < kLanes; ++i)
                at[i] = next[i];
        }
    }
    for (int i = 0; i < kLanes; ++i) {
        lanes[i].at = at[i];
        lanes[i].zeros += steps * kCommonZeros;
    }
}

// A place from `from` on where an item seems to begin; `end` if there is none near. A wrong guess costs time
// only.
const uint8_t *GuessItem(const TagBlock *block, const uint8_t *from, const uint8_t *end)
{
    constexpr ptrdiff_t kNear = 1024;
    for (const uint8_t *item = from; item < end && item < from + kNear; ++item) {
        const uint32_t length = ReadLength(item + 1);
        const uint64_t room = block->used - static_cast<uint64_t>(item - block->buffer);
        if (*item == kStringMarker && item[-1] == 0 && item[kHeaderBytes] != 0 && length > 3 &&
            length < room - kHeaderBytes && item[kHeaderBytes + length - 1] == 0 &&
            item[kHeaderBytes + length] <= kPictureMarker)
            return item;
    }
    return end;
}

// Starts lanes at places spread evenly over the bytes from `start` to `end`, each ending where the next
// begins.
void SpreadLanes(const TagBlock *block, const uint8_t *start, const uint8_t *end, Lane *lanes)
{
    constexpr ptrdiff_t kWorthLanes = 2048;
    for (int i = 0; i < kLanes; ++i) {
        const uint8_t *place = i == 0 ? start : end;
        if (i > 0 && end - start >= kWorthLanes)
            place = GuessItem(block, start + (end - start) / kLanes * i, end);
        lanes[i] = {place, end, 0, false, false};
        if (i > 0)
            lanes[i - 1].end = place;
    }
}

bool AllGoFar(const Lane *lanes)
{
    for (int i = 0; i < kLanes; ++i)
        if (lanes[i].stuck || lanes[i].end - lanes[i].at < kMostCommonBytes)
            return false;
    return true;
}

// Where the first lane that is stuck has come to, or after the item there if that has the key; null if that
// is the first of all or none.
const uint8_t *EndBehindStuck(const Lane *lanes)
{
    for (int i = 0; i < kLanes; ++i)
        if (lanes[i].stuck)
            return i == 0 ? nullptr : lanes[i].at + lanes[i].found;
    return nullptr;
}

// Walks over the string items from `start` on until the key is found, an item is of another kind or broken,
// or one begins at `end` or after. Or it stops as soon as a lane is stuck, with what the first one has
// walked, and sets how far all of them should walk what is left: what comes after doesn't matter.
Lane WalkRun(const TagBlock *block, const WantedKey &key, const uint8_t *start, const uint8_t *end,
             const uint8_t **nextEnd)
{
    Lane lanes[kLanes];
    SpreadLanes(block, start, end, lanes);
    while (AllGoFar(lanes)) {
        WalkAbreast(key, lanes);
        for (Lane &lane : lanes)
            if (lane.Goes())
                Step(block, key, lane);
    }
    if (const uint8_t *const nearer = EndBehindStuck(lanes)) {
        *nextEnd = nearer;
        return lanes[0];
    }
    Lane run = {start, start, 0, false, false};
    for (Lane &lane : lanes) {
        while (lane.Goes())
            Step(block, key, lane);
        lane.zeros += run.zeros;
        run = lane;
        // A lane that didn't end where the next began makes that and all after it worthless.
        if (lane.found || lane.at != lane.end)
            break;
    }
    return run;
}

} // namespace
} // namespace tonekit::TONEKIT_TIER
