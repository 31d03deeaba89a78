// converted_text.cpp: adds texts and chapter names that come as UTF-16 or in the ANSI code page.
#include <new>
#include <tonekit/encode.h>
#include <tonekit/tags.h>

namespace {

// The UTF-8 form of a caller's text, for the time of one add.
class ConvertedText {
public:
    template <class Unit>
    ConvertedText(char *(*convert)(const Unit *), const Unit *text) noexcept
        : utf8(ConvertOrNull(convert, text))
    {}
    ConvertedText(const ConvertedText &) = delete;
    ConvertedText &operator=(const ConvertedText &) = delete;
    ~ConvertedText() { UNC_freeStr(utf8); }

    // Null if the text was null, couldn't be converted, or memory ran out: an add then refuses it in silence.
    const char *Utf8() const { return utf8; }

private:
    // The conversions throw when memory runs out; adding to a tag block doesn't.
    template <class Unit>
    static char *ConvertOrNull(char *(*convert)(const Unit *), const Unit *text) noexcept
    {
        try {
            return convert(text);
        } catch (const std::bad_alloc &) {
            return nullptr;
        }
    }

    char *utf8;
};

} // namespace

void ID3Helper_AddStrUnicode(TagBlock *block, const tonekit_char16 *key, const tonekit_char16 *value)
{
    const ConvertedText keyText(UNC_UnicodeToUtf8, key);
    const ConvertedText valueText(UNC_UnicodeToUtf8, value);
    ID3Helper_AddStr(block, keyText.Utf8(), valueText.Utf8());
}

void ID3Helper_AddStrAnsi(TagBlock *block, const char *key, const char *value)
{
    const ConvertedText keyText(UNC_AnsiToUtf8, key);
    const ConvertedText valueText(UNC_AnsiToUtf8, value);
    ID3Helper_AddStr(block, keyText.Utf8(), valueText.Utf8());
}

void ID3Helper_AddChapter(TagBlock *block, uint32_t number, uint64_t position, const tonekit_char16 *name)
{
    const ConvertedText nameText(UNC_UnicodeToUtf8, name);
    ID3Helper_AddChapter_UTF8(block, number, position, nameText.Utf8());
}
