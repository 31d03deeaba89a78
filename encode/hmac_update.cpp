// hmac_update.cpp: adds a piece of a message to an HMAC, which is the hash update of its inner hash.
#include <tonekit/encode.h>

void hmac_sha224_update(HmacSha256Context *record, const uint8_t *message, uint32_t size)
{
    sha224_update(&record->inner, message, size);
}

void hmac_sha256_update(HmacSha256Context *record, const uint8_t *message, uint32_t size)
{
    sha256_update(&record->inner, message, size);
}

void hmac_sha384_update(HmacSha512Context *record, const uint8_t *message, uint32_t size)
{
    sha384_update(&record->inner, message, size);
}

void hmac_sha512_update(HmacSha512Context *record, const uint8_t *message, uint32_t size)
{
    sha512_update(&record->inner, message, size);
}
