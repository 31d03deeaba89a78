// tier.h: how a tier unit defines its bodies and reaches its siblings of the same tier.
//
// A tier unit X.tier.cpp is compiled once per body, with TONEKIT_TIER set to the body's letter. All its code
// is in namespace tonekit::TONEKIT_TIER. No weak symbol may come out of it: an inline function or template
// instance compiled for a demanding tier could be given by the linker to the baseline, which then dies on an
// old processor.
#pragma once

#include <cstdint>
#include <tonekit/frame.h>

#ifndef TONEKIT_TIER
    #error "tier.h is for tier units, which the build compiles once per body"
#endif

// The alias of a body for a letter that shares it, visible or not.
#ifdef __ELF__
    #define TONEKIT_ALIAS_(alias, body, visibility)                                                          \
        __asm__(".globl " #alias "\n.type " #alias ", @function\n" visibility "\n.set " #alias ", " #body    \
                "\n");
    #define TONEKIT_HIDDEN_(alias) ".hidden " #alias
#else
    #define TONEKIT_ALIAS_(alias, body, visibility)                                                          \
        __asm__(".globl " #alias "\n.set " #alias ", " #body "\n");
    #define TONEKIT_HIDDEN_(alias)
#endif
#define TONEKIT_ALIAS_export(alias, body) TONEKIT_ALIAS_(alias, body, "")
#define TONEKIT_ALIAS_plain(alias, body) TONEKIT_ALIAS_(alias, body, TONEKIT_HIDDEN_(alias))
#define TONEKIT_ALIAS_intern(alias, body) TONEKIT_ALIAS_(alias, body, TONEKIT_HIDDEN_(alias))

// The unit's rows of the dispatch list, and such aliases.
#include TONEKIT_ROWS

#define TONEKIT_STRING_(text) #text
#define TONEKIT_STRING(text) TONEKIT_STRING_(text)
#define TONEKIT_LABEL(symbol) __asm__(TONEKIT_STRING(symbol) "." TONEKIT_STRING(TONEKIT_TIER))

#define TONEKIT_DEFINE_(function, symbol, row, result, arguments, attributes)                                \
    static_assert(row, "add a row for " #symbol " to frame/dispatch.list");                                  \
    attributes result function arguments TONEKIT_LABEL(symbol);                                              \
    result function arguments

#define TONEKIT_CHECK_(declared, result, arguments)                                                          \
    static_assert(__is_same(decltype(declared), result arguments),                                           \
                  "the header declares " #declared " otherwise");

// Opens the definition of an exported function's body, which is found under function.LETTER. Its public
// header has to be included.
#define TONEKIT_BODY(function, result, arguments)                                                            \
    TONEKIT_CHECK_(::function, result, arguments)                                                            \
    TONEKIT_DEFINE_(function, function, TONEKIT_ROW_export_##function, result, arguments, TONEKIT_API)

// The same for a function of which only the entry is exported.
#define TONEKIT_PLAIN_BODY(function, result, arguments)                                                      \
    TONEKIT_CHECK_(::function, result, arguments)                                                            \
    TONEKIT_DEFINE_(function, function, TONEKIT_ROW_plain_##function, result, arguments, )

// The same for a class member: SYMBOL is its mangled name, and the object is the first argument.
#define TONEKIT_MEMBER_BODY(function, symbol, result, arguments)                                             \
    TONEKIT_DEFINE_(function, symbol, TONEKIT_ROW_export_##symbol, result, arguments, TONEKIT_API)

// The same for a dispatched function that is not exported: a header declares it in namespace tonekit, as
// extern "C".
#define TONEKIT_INTERNAL_BODY(function, result, arguments)                                                   \
    TONEKIT_CHECK_(::tonekit::function, result, arguments)                                                   \
    TONEKIT_DEFINE_(function, function, TONEKIT_ROW_intern_##function, result, arguments, )

// Declares the body of the same tier of an internal function that another unit defines, with the type that
// its header gives it. A call of it is direct.
#define TONEKIT_SIBLING(function) extern decltype(::tonekit::function) function TONEKIT_LABEL(function)

// The same for an exported function.
#define TONEKIT_EXPORTED_SIBLING(function) extern decltype(::function) function TONEKIT_LABEL(function)
