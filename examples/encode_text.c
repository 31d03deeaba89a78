/* encode_text.c: converts a text to UTF-16 and back, packs it as Base64, and hashes it. */
#include <stdio.h>
#include <string.h>
#include <tonekit/tonekit.h>

int main(void)
{
    const char *text = "gr\xC3\xBC\xC3\x9F dich"; /* UTF-8 */
    uint8_t digest[32];
    char *packed = NULL;

    tonekit_char16 *wide = UNC_Utf8ToUnicode(text);
    char *back = UNC_UnicodeToUtf8(wide);
    if (BASE64Encode(text, (uint32_t)strlen(text), &packed) == TONEKIT_ENCODE_REFUSED)
        return 1;
    sha256((const uint8_t *)text, (uint32_t)strlen(text), digest);

    printf("%s\n%s\n", back, packed);
    for (int i = 0; i < 32; ++i)
        printf("%02x", digest[i]);
    printf("\n");

    const bool right = wide[2] == 0xFC && strcmp(back, text) == 0 && strcmp(packed, "Z3LDvMOfIGRpY2g=") == 0;
    UNC_freeStr(wide); /* what the encoders return is the caller's to release */
    UNC_freeStr(back);
    BASE64FreeMem(packed);
    return right ? 0 : 1;
}
