// file_text.cpp: recognises how a text file is encoded.
#include "host/tags/file_text.h"

#include <tstring.h>

namespace tonekit::host {

std::string TextOfFile(const std::string &bytes)
{
    if (bytes.starts_with("\xEF\xBB\xBF"))
        return bytes.substr(3);
    const TagLib::ByteVector data(bytes.data(), static_cast<unsigned>(bytes.size()));
    if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF"))
        return TagLib::String(data, TagLib::String::UTF16).to8Bit(true);
    const TagLib::String text(data, TagLib::String::UTF8);
    if (text.to8Bit(true) == bytes)
        return bytes;
    return TagLib::String(data, TagLib::String::Latin1).to8Bit(true);
}

} // namespace tonekit::host
