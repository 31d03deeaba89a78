// sha2_members.h: the four members of the SHA-2 family with their functions in the bodies of one letter.
#pragma once

#include "tests/support/bodies.h"

#include <cstdint>
#include <string>
#include <tonekit/encode.h>
#include <type_traits>
#include <vector>

namespace tonekit {

// The body NAME.LETTER of a function.
template <class Function>
Function *FindBody(const std::string &name, char letter)
{
    return Body<Function>(name.c_str(), letter);
}

template <int digestBits>
struct Sha2Member {
    static constexpr int kBits = digestBits;
    static constexpr uint32_t kDigestBytes = digestBits / 8;
    static constexpr uint32_t kBlockBytes = digestBits >= 384 ? 128 : 64;
    using Context = std::conditional_t<digestBits >= 384, Sha512Context, Sha256Context>;
    using Record = std::conditional_t<digestBits >= 384, HmacSha512Context, HmacSha256Context>;

    using Start = void(Context *);
    using Add = void(Context *, const uint8_t *, uint32_t);
    using End = void(Context *, uint8_t *);
    using MacStart = void(Record *, const uint8_t *, uint32_t);
    using MacStartAgain = void(Record *);
    using MacEnd = void(Record *, uint8_t *, uint32_t);

    explicit Sha2Member(char letter)
        : hash(FindBody<decltype(sha256)>(name, letter)), init(FindBody<Start>(name + "_init", letter)),
          update(FindBody<Add>(name + "_update", letter)), final(FindBody<End>(name + "_final", letter)),
          mac(FindBody<decltype(hmac_sha256)>("hmac_" + name, letter)),
          macInit(FindBody<MacStart>("hmac_" + name + "_init", letter)),
          macReinit(FindBody<MacStartAgain>("hmac_" + name + "_reinit", letter)),
          macFinal(FindBody<MacEnd>("hmac_" + name + "_final", letter))
    {}

    const std::string name = "sha" + std::to_string(digestBits);
    decltype(sha256) *const hash;
    Start *const init;
    Add *const update;
    End *const final;
    decltype(hmac_sha256) *const mac;
    MacStart *const macInit;
    MacStartAgain *const macReinit;
    MacEnd *const macFinal;

    // Has one build for all letters.
    static void macUpdate(Record *record, const uint8_t *message, uint32_t size)
    {
        if constexpr (digestBits == 224)
            hmac_sha224_update(record, message, size);
        else if constexpr (digestBits == 256)
            hmac_sha256_update(record, message, size);
        else if constexpr (digestBits == 384)
            hmac_sha384_update(record, message, size);
        else
            hmac_sha512_update(record, message, size);
    }
};

// Calls action with each member in turn.
template <class Action>
void ForEachSha2Member(char letter, Action action)
{
    action(Sha2Member<224>(letter));
    action(Sha2Member<256>(letter));
    action(Sha2Member<384>(letter));
    action(Sha2Member<512>(letter));
}

} // namespace tonekit
