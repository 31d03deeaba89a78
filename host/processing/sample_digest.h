// sample_digest.h: the digest of a stream of samples.
#pragma once

#include "host/command_line/options.h"

#include <cstddef>
#include <string>
#include <tonekit/encode.h>

namespace tonekit::host {

struct Digest {
    HashKind kind = HashKind::Sha256;
    std::string hex;
};

// Takes the bytes of samples as they are in the program's buffers: interleaved, little-endian, in the
// sample format of the file. Equal samples in equal formats have equal digests, whatever the type of file.
class SampleDigest {
public:
    explicit SampleDigest(HashKind kind);

    void Take(const void *bytes, size_t size);
    // Ends the digest; nothing may be taken afterwards.
    Digest Finish();

private:
    HashKind kind_;
    union {
        Sha256Context sha256_;
        Sha512Context sha512_;
    };
};

} // namespace tonekit::host
