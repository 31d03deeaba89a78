// chapter_keys.tier.cpp: reads the number in a chapter's position key or name key.
#include "frame/tier.h"

#include <tonekit/tags.h>

namespace tonekit::TONEKIT_TIER {

namespace {

constexpr char kPrefix[] = "CHAPTER";
constexpr char kNameSuffix[] = "NAME";

// Moves `at` past the literal if the text there begins with it.
template <class Unit>
bool Pass(const Unit *&at, const char *literal)
{
    const Unit *unit = at;
    for (; *literal != 0; ++literal, ++unit)
        if (*unit != static_cast<Unit>(*literal))
            return false;
    at = unit;
    return true;
}

// Reads digits up to the first character that is none; the number wraps.
template <class Unit>
uint32_t PassDigits(const Unit *&at)
{
    uint32_t number = 0;
    for (; *at >= '0' && *at <= '9'; ++at)
        number = number * 10 + static_cast<uint32_t>(*at - '0');
    return number;
}

template <class Unit>
uint32_t PositionKeyNumber(const Unit *key)
{
    if (!key || !Pass(key, kPrefix))
        return 0;
    const uint32_t number = PassDigits(key);
    return *key == 0 ? number : 0;
}

template <class Unit>
uint32_t NameKeyNumber(const Unit *key)
{
    if (!key || !Pass(key, kPrefix))
        return 0;
    const uint32_t number = PassDigits(key);
    return Pass(key, kNameSuffix) ? number : 0;
}

} // namespace

TONEKIT_BODY(CHAPTER_Get_Number, uint32_t, (const char *key))
{
    return PositionKeyNumber(key);
}

TONEKIT_BODY(CHAPTER_Get_NumberW, uint32_t, (const tonekit_char16 *key))
{
    return PositionKeyNumber(key);
}

TONEKIT_BODY(CHAPTERNAME_Get_Number, uint32_t, (const char *key))
{
    return NameKeyNumber(key);
}

TONEKIT_BODY(CHAPTERNAME_Get_NumberW, uint32_t, (const tonekit_char16 *key))
{
    return NameKeyNumber(key);
}

} // namespace tonekit::TONEKIT_TIER
