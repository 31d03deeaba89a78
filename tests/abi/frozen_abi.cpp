// frozen_abi.cpp: the public headers declare what version 1.0 declares, to a caller in C++. Compiled, never
// run.
#include "tests/abi/constants.h"
#include "tests/abi/prototypes.h"
#include "tests/abi/records.h"

template <class Function>
constexpr bool Is(Function)
{
    return true;
}

// The classes are flat records without virtual functions, and their members have these types.
static_assert(!std::is_polymorphic_v<CSampleRateConverter3> && !std::is_polymorphic_v<CSampleRateConverter4>);
static_assert(std::is_base_of_v<CSampleRateConverter3, CSampleRateConverter4>);

static_assert(std::is_default_constructible_v<CSampleRateConverter3>);
static_assert(std::is_default_constructible_v<CSampleRateConverter4>);
static_assert(std::is_copy_constructible_v<CSampleRateConverter3>);
static_assert(std::is_copy_constructible_v<CSampleRateConverter4>);

static_assert(Is<CSampleRateConverter3 &(CSampleRateConverter3::*)(const CSampleRateConverter3 &)>(
    &CSampleRateConverter3::operator=));
static_assert(Is<void (CSampleRateConverter3::*)(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                                 uint32_t, uint32_t, void *&, void *&, bool, bool, uint32_t,
                                                 uint32_t)>(&CSampleRateConverter3::Init));
static_assert(Is<uint32_t (CSampleRateConverter3::*)(uint32_t, bool)>(&CSampleRateConverter3::Resample));

static_assert(Is<CSampleRateConverter4 &(CSampleRateConverter4::*)(const CSampleRateConverter4 &)>(
    &CSampleRateConverter4::operator=));
static_assert(Is<void (CSampleRateConverter4::*)(uint32_t, uint32_t, uint32_t, uint32_t, uint32_t, uint32_t,
                                                 uint32_t, uint32_t, bool, bool, uint32_t, uint32_t)>(
    &CSampleRateConverter4::Init));
static_assert(Is<void (CSampleRateConverter4::*)(const void *, uint32_t)>(&CSampleRateConverter4::Write));
static_assert(
    Is<bool (CSampleRateConverter4::*)(void *&, uint32_t &, uint32_t &)>(&CSampleRateConverter4::Read));
static_assert(
    Is<bool (CSampleRateConverter4::*)(void *&, uint32_t &, uint32_t &)>(&CSampleRateConverter4::Flush));
