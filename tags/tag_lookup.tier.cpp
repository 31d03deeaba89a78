// tag_lookup.tier.cpp: finds the value under a key of a tag block.
//
// An item is what its texts make it: they end at their zero bytes, whatever the length field says. But to
// read all of an item before the next can be found is slow. So a run of items is first walked by the length
// fields, from several places at once, and then proved: each item was seen to end in a zero byte and to have
// another one before. If the run has just as many zero bytes as its headers and two for each item, then no
// item has a third, and every length is what the texts make it. If it has more or fewer, the run is walked
// again text by text.
#include "frame/tier.h"

#include <cstring>
#include <emmintrin.h>

#include "tags/item.h"

namespace tonekit::TONEKIT_TIER {

namespace {

// Only the letters A to Z: the bytes of UTF-8 characters beyond ASCII have no case here.
inline uint8_t FoldCase(char letter)
{
    const auto byte = static_cast<uint8_t>(letter);
    return static_cast<uint8_t>((byte | 0x20) - 'a') < 26 ? byte | 0x20 : byte;
}

bool SameKey(const char *one, const char *other)
{
    for (; FoldCase(*one) == FoldCase(*other); ++one, ++other)
        if (*one == 0)
            return true;
    return false;
}

inline uint64_t Load64(const void *at)
{
    uint64_t word;
    memcpy(&word, at, sizeof word);
    return word;
}

// The key that is looked for. Its last bytes with the zero byte tell nearly every other key apart at once;
// the first ones don't, as keys often begin alike.
struct WantedKey {
    const char *text;
    uint64_t windowStart; // in an item that has this key
    uint64_t bytes;
    uint64_t compared; // the bits that belong to the key, without those that make a letter's case

    explicit WantedKey(const char *key) : text(key)
    {
        const size_t size = strlen(key) + 1;
        const size_t skipped = size > 8 ? size - 8 : 0;
        uint8_t folded[8] = {};
        uint8_t mask[8] = {};
        for (size_t i = 0; skipped + i < size; ++i) {
            folded[i] = FoldCase(key[skipped + i]);
            mask[i] = static_cast<uint8_t>(folded[i] - 'a') < 26 ? 0xDF : 0xFF;
        }
        windowStart = kHeaderBytes + skipped;
        bytes = Load64(folded);
        compared = Load64(mask);
    }

    uint64_t WindowEnd() const { return windowStart + 8; }

    bool MayBeKeyOf(const uint8_t *item) const
    {
        return ((Load64(item + windowStart) ^ bytes) & compared) == 0;
    }

    bool IsKeyOf(const uint8_t *item) const
    {
        return *item == kStringMarker && SameKey(reinterpret_cast<const char *>(item) + kHeaderBytes, text);
    }
};

// Bit i tells whether at[i] is 0.
inline uint32_t ZerosIn16(const uint8_t *at)
{
    const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i *>(at));
    return static_cast<uint32_t>(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
}

#if defined(__AVX2__)
constexpr int kVectorBytes = 32;
#else
constexpr int kVectorBytes = 16;
#endif
typedef int8_t Vector __attribute__((vector_size(kVectorBytes), may_alias));

// In each byte, minus the number of zeros in that byte of four vectors.
inline Vector ZerosInFour(const Vector *at)
{
    return ((at[0] == 0) + (at[1] == 0)) + ((at[2] == 0) + (at[3] == 0));
}

uint64_t CountZerosBytewise(const uint8_t *at, const uint8_t *end)
{
    uint64_t zeros = 0;
    for (; at < end; ++at)
        zeros += *at == 0;
    return zeros;
}

uint64_t CountZerosIn(const Vector *at, ptrdiff_t vectors)
{
    constexpr ptrdiff_t kMost = 248; // vectors, in eights, that can be counted in a byte
    uint64_t zeros = 0;
    while (vectors > 0) {
        const Vector *const stop = at + (vectors < kMost ? vectors : kMost);
        vectors -= stop - at;
        Vector counts = {};
        for (; at < stop; at += 8)
            counts -= ZerosInFour(at) + ZerosInFour(at + 4);
        uint8_t ofByte[kVectorBytes];
        memcpy(ofByte, &counts, sizeof ofByte);
        for (const uint8_t count : ofByte)
            zeros += count;
    }
    return zeros;
}

uint64_t CountZeros(const uint8_t *at, const uint8_t *end)
{
    constexpr ptrdiff_t kEight = 8 * kVectorBytes;
    if (end - at < 2 * kEight)
        return CountZerosBytewise(at, end);
    const uint8_t *const aligned = at + (0 - reinterpret_cast<uintptr_t>(at)) % kVectorBytes;
    const ptrdiff_t eights = (end - aligned) / kEight;
    return CountZerosBytewise(at, aligned) +
           CountZerosIn(reinterpret_cast<const Vector *>(aligned), 8 * eights) +
           CountZerosBytewise(aligned + eights * kEight, end);
}

// The common item has a payload below 256 bytes, so that four bytes of its header are zero, and a key
// below 16.
constexpr uint32_t kMostCommonLength = 255;
constexpr ptrdiff_t kMostCommonBytes = kHeaderBytes + kMostCommonLength;
constexpr uint64_t kCommonZeros = 4 + 2;

// Passes a string item, one that is common, by its length, unless it may have the wanted key or no string
// item follows. That its marker is right and that it ends before the bytes in use do has been seen before.
inline __attribute__((always_inline)) bool PassCommon(const WantedKey &key, const uint8_t *&item)
{
    const uint32_t length = ReadLength(item + 1);
    const uint32_t zeros = ZerosIn16(item + kHeaderBytes);
    if (key.MayBeKeyOf(item) || length > kMostCommonLength || zeros == 0)
        return false;
    const uint8_t *const next = item + kHeaderBytes + length;
    const auto keyBytes = static_cast<uint32_t>(__builtin_ctz(zeros)) + 1;
    uint16_t lastByteAndMarker;
    memcpy(&lastByteAndMarker, next - 1, sizeof lastByteAndMarker);
    static_assert(kStringMarker == 0);
    if (lastByteAndMarker != 0 || keyBytes >= length)
        return false;
    item = next;
    return true;
}

// The room behind an item's start that PassCommon looks at before it knows the item's length.
uint64_t FirstLook(const WantedKey &key)
{
    constexpr uint64_t kLeast = kHeaderBytes + 16;
    return key.WindowEnd() > kLeast ? key.WindowEnd() : kLeast;
}

// A walk by the length fields from one place.
struct Lane {
    const uint8_t *at;  // the item to look at next
    const uint8_t *end; // the walk ends at the first item here or behind
    uint64_t zeros;     // zero bytes of the items walked over, if all are what their lengths say
    bool found;         // the item at `at` has the wanted key
    bool stuck;         // found, or there is no whole string item at `at`

    bool Goes() const { return !stuck && at < end; }
};

// Passes a string item that isn't common, text by text.
__attribute__((noinline)) void StepByText(const TagBlock *block, const WantedKey &key, Lane &lane)
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

// Where the first lane that is stuck has come to, or behind the item there if that has the key; null if that
// is the first of all or none.
const uint8_t *EndBehindStuck(const Lane *lanes)
{
    for (int i = 0; i < kLanes; ++i)
        if (lanes[i].stuck)
            return i == 0 ? nullptr : lanes[i].at + lanes[i].found;
    return nullptr;
}

// Walks over the string items from `start` on until the key is found, an item is of another kind or broken,
// or one begins at `end` or behind. Or it stops as soon as a lane is stuck, with what the first one has
// walked, and tells how far all of them should walk what is left: what is behind doesn't matter.
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
        // A lane that didn't end where the next began makes that and all behind worthless.
        if (lane.found || lane.at != lane.end)
            break;
    }
    return run;
}

const char *ValueAt(const TagBlock *block, uint64_t offset)
{
    StringItem item;
    return ReadStringItem(block, static_cast<uint32_t>(offset), &item) ? item.value : kEmptyText;
}

// Looks for the key from an item on, text by text.
const char *FindByText(const TagBlock *block, const WantedKey &key, uint64_t offset)
{
    StringItem item;
    while (SeekMarker(block, kStringMarker, &offset) &&
           ReadStringItem(block, static_cast<uint32_t>(offset), &item)) {
        if (SameKey(item.key, key.text))
            return item.value;
        offset = item.next;
    }
    return kEmptyText;
}

} // namespace

TONEKIT_BODY(ID3Helper_GetStr, const char *, (const TagBlock *block, const char *text))
{
    if (block == nullptr || text == nullptr || *text == 0)
        return kEmptyText;
    const WantedKey key(text);
    const uint64_t look = FirstLook(key);
    uint64_t offset = 0;
    const uint8_t *end = nullptr;
    while (SeekMarker(block, kStringMarker, &offset) && block->used - offset > look) {
        const uint8_t *const start = block->buffer + offset;
        if (end <= start)
            end = block->buffer + block->used - look;
        const Lane run = WalkRun(block, key, start, end, &end);
        if (run.at == start && !run.found)
            break;
        if (CountZeros(start, run.at) != run.zeros)
            break;
        offset = static_cast<uint64_t>(run.at - block->buffer);
        if (run.found)
            return ValueAt(block, offset);
    }
    return FindByText(block, key, offset);
}

} // namespace tonekit::TONEKIT_TIER
