// tag_lookup.tier.cpp: finds the value under a key of a tag block.
//
// An item is what its texts make it: they end at their zero bytes, whatever the length field says. But to
// read all of an item before the next can be found is slow. So a run of items is first walked by the length
// fields, from several places at once (lane_walk.h), and then proved: each item was seen to end in a zero
// byte and to have another one before. If the run has just as many zero bytes as its headers and two for each
// item, then no item has a third, and every length is what the texts make it. If it has more or fewer, the
// run is walked again text by text.
#include "frame/tier.h"
#include "tags/count_zeros.h"
#include "tags/item.h"
#include "tags/lane_walk.h"
#include "tags/wanted_key.h"

namespace tonekit::TONEKIT_TIER {

namespace {

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
    if (!block || !text || *text == 0)
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
