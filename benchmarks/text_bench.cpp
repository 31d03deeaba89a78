// text_bench.cpp: conversions between UTF-8 and UTF-16 compared with iconv and ICU, and windows-1252 compared
// with iconv.
//
// Ours finds the end, allocates, converts and releases. iconv's converter is opened once; for short text it,
// too, allocates. ICU gets the length and memory that is there already.
#include "benchmarks/ratio.h"

#include <cstdlib>
#include <cstring>
#include <iconv.h>
#include <memory>
#include <string>
#include <tonekit/encode.h>
#include <unicode/ustring.h>
#include <vector>

namespace {

constexpr size_t kShort = 24;
constexpr size_t kLong = 50000;

struct Script {
    const char *name;
    const char16_t *sample;
    double icuLimit;
};

constexpr Script kScripts[] = {
    {"ASCII", u"The quick brown fox jumps over the lazy dog, and the band plays on. ", 0},
    {"Latin",
     u"\u00dcberma\u00dfig sch\u00f6ne H\u00f6rst\u00fccke f\u00fcr gro\u00dfe Ch\u00f6re, "
     u"\u00e9tudes cr\u00e9\u00e9es \u00e0 la fa\u00e7on d\u2019antan. ",
     1.5},
    {"Czech",
     u"P\u0159\u00edli\u0161 \u017elu\u0165ou\u010dk\u00fd k\u016f\u0148 \u00fap\u011bl "
     u"\u010f\u00e1belsk\u00e9 \u00f3dy. ",
     1.5},
    {"Vietnamese",
     u"Do b\u1ea1ch kim r\u1ea5t qu\u00fd n\u00ean s\u1ebd d\u00f9ng \u0111\u1ec3 l\u1eafp v\u00f4 "
     u"x\u01b0\u01a1ng. ",
     1.5},
    {"Cyrillic",
     u"\u0421\u044a\u0435\u0448\u044c \u0436\u0435 \u0435\u0449\u0451 \u044d\u0442\u0438\u0445 "
     u"\u043c\u044f\u0433\u043a\u0438\u0445 "
     u"\u0444\u0440\u0430\u043d\u0446\u0443\u0437\u0441\u043a\u0438\u0445 "
     u"\u0431\u0443\u043b\u043e\u043a, \u0434\u0430 \u0432\u044b\u043f\u0435\u0439 \u0447\u0430\u044e. ",
     1.5},
    {"CJK",
     u"\u3044\u308d\u306f\u306b\u307b\u3078\u3068\u3061\u308a\u306c\u308b\u3092\u6211\u304c\u4e16\u8ab0\u305e"
     u"\u5e38\u306a\u3089\u3080\u6709\u70ba\u306e\u5965\u5c71\u4eca\u65e5\u8d8a\u3048\u3066\u3001\u6d45\u304d"
     u"\u5922\u898b\u3058\u9154\u3072\u3082\u305b\u305a\u3002",
     1.5},
    {"emoji",
     u"\U0001F600\U0001F601\U0001F602\U0001F923\U0001F603\U0001F604\U0001F605\U0001F606\U0001F609\U0001F60A"
     u"\U0001F3B5\U0001F3B6\U0001F3B8\U0001F3BA",
     1.0},
};

struct Text {
    std::u16string units;
    std::string bytes;
};

Text Repeat(const char16_t *sample, size_t units)
{
    Text text;
    while (text.units.size() < units)
        text.units += sample;
    text.units.resize(units); // an even number, so pairs stay whole
    char *bytes = UNC_UnicodeToUtf8(text.units.c_str());
    text.bytes = bytes;
    UNC_freeStr(bytes);
    return text;
}

class Iconv {
public:
    Iconv(const char *to, const char *from) : handle_(iconv_open(to, from)) {}
    ~Iconv() { iconv_close(handle_); }
    void Convert(const void *in, size_t inBytes, void *out, size_t outBytes) const
    {
        char *from = const_cast<char *>(static_cast<const char *>(in));
        char *to = static_cast<char *>(out);
        iconv(handle_, &from, &inBytes, &to, &outBytes);
    }
    void ConvertToNew(const void *in, size_t inBytes, size_t outBytes) const
    {
        void *out = std::malloc(outBytes);
        Convert(in, inBytes, out, outBytes);
        std::free(out);
    }

private:
    iconv_t handle_;
};

const Iconv toUnicode("UTF-16LE", "UTF-8");
const Iconv toUtf8("UTF-8", "UTF-16LE");
const Iconv ansiToUnicode("UTF-16LE", "CP1252");
const Iconv unicodeToAnsi("CP1252", "UTF-16LE");
std::vector<char> room(8 * kLong);

size_t SizeOf(const std::u16string &units)
{
    return units.size() * sizeof(char16_t);
}

void AddShort(tonekit::RatioTable &table, const Script &script)
{
    const auto text = std::make_shared<Text>(Repeat(script.sample, kShort));
    const std::string name = std::string("24 units of ") + script.name;
    table.Add(
        name + " from UTF-8, iconv", 1.5, [=] { UNC_freeWStr(UNC_Utf8ToUnicode(text->bytes.c_str())); },
        [=] { toUnicode.ConvertToNew(text->bytes.data(), text->bytes.size() + 1, 2 * kShort + 2); });
    table.Add(
        name + " to UTF-8, iconv", 1.5, [=] { UNC_freeStr(UNC_UnicodeToUtf8(text->units.c_str())); },
        [=] { toUtf8.ConvertToNew(text->units.data(), SizeOf(text->units) + 2, text->bytes.size() + 1); });
}

void AddLongBesideIconv(tonekit::RatioTable &table)
{
    const auto text = std::make_shared<Text>(Repeat(kScripts[0].sample, kLong));
    table.Add(
        "long ASCII from UTF-8, iconv", 15, [=] { UNC_freeWStr(UNC_Utf8ToUnicode(text->bytes.c_str())); },
        [=] { toUnicode.Convert(text->bytes.data(), text->bytes.size(), room.data(), room.size()); });
    table.Add(
        "long ASCII to UTF-8, iconv", 15, [=] { UNC_freeStr(UNC_UnicodeToUtf8(text->units.c_str())); },
        [=] { toUtf8.Convert(text->units.data(), SizeOf(text->units), room.data(), room.size()); });
    table.Add(
        "long ASCII from windows-1252, iconv", 15,
        [=] { UNC_freeWStr(UNC_AnsiToUnicode(text->bytes.c_str())); },
        [=] { ansiToUnicode.Convert(text->bytes.data(), text->bytes.size(), room.data(), room.size()); });
    table.Add(
        "long ASCII to windows-1252, iconv", 15, [=] { UNC_freeStr(UNC_UnicodeToAnsi(text->units.c_str())); },
        [=] { unicodeToAnsi.Convert(text->units.data(), SizeOf(text->units), room.data(), room.size()); });
}

void AddLongBesideIcu(tonekit::RatioTable &table, const Script &script)
{
    const auto text = std::make_shared<Text>(Repeat(script.sample, kLong));
    const auto size = [](size_t value) { return static_cast<int32_t>(value); };
    const std::string name = std::string("long ") + script.name;
    table.Add(
        name + " from UTF-8, ICU", script.icuLimit,
        [=] { UNC_freeWStr(UNC_Utf8ToUnicode(text->bytes.c_str())); },
        [=] {
            UErrorCode error = U_ZERO_ERROR;
            u_strFromUTF8(reinterpret_cast<UChar *>(room.data()), size(room.size() / 2), nullptr,
                          text->bytes.data(), size(text->bytes.size()), &error);
        });
    table.Add(
        name + " to UTF-8, ICU", script.icuLimit,
        [=] { UNC_freeStr(UNC_UnicodeToUtf8(text->units.c_str())); },
        [=] {
            UErrorCode error = U_ZERO_ERROR;
            u_strToUTF8(room.data(), size(room.size()), nullptr,
                        reinterpret_cast<const UChar *>(text->units.data()), size(text->units.size()),
                        &error);
        });
}

} // namespace

int main(int argc, char **argv)
{
    tonekit::RatioTable table("Text, by what it is and beside which peer");
    for (const Script &script : kScripts)
        AddShort(table, script);
    AddLongBesideIconv(table);
    for (const Script &script : kScripts)
        AddLongBesideIcu(table, script);
    return table.Run(argc, argv);
}
