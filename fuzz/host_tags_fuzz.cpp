// host_tags_fuzz.cpp: the tags of arbitrary files, read as each kind of file into a tag block. Refusals are
// Failure or warnings, and the block can be walked afterwards.
#include "fuzz/memory_file.h"
#include "host/system/failure.h"
#include "host/tags/tag_reader.h"

#include <string>
#include <tonekit/tags.h>
#include <vector>

namespace {

using namespace tonekit::host;

void Walk(const TagBlock *block)
{
    TagBlockItem item;
    for (bool more = ID3Helper_GetFirst(block, &item); more; more = ID3Helper_GetNext(block, &item))
        tonekit::fuzz::Require(item.key && item.value);
    TagBlockPicture picture;
    for (bool more = ID3Helper_GetFirstImage(block, &picture); more;
         more = ID3Helper_GetNextImage(block, &picture))
        tonekit::fuzz::Require(picture.data || picture.size == 0);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size)
{
    static tonekit::fuzz::MemoryFile file;
    tonekit::fuzz::InputBytes input(data, size);
    const TagKind kind = input.OneOf({TagKind::Wav, TagKind::Aiff, TagKind::Flac, TagKind::Vorbis,
                                      TagKind::Opus, TagKind::Mpeg, TagKind::None, TagKind::Mp4,
                                      TagKind::WavPack, TagKind::Ape, TagKind::Asf, TagKind::Libav});
    const uint8_t how = input.Byte();
    TagChoice choice;
    choice.chapters = (how & 1) == 0;
    choice.frontCover = (how & 2) == 0;
    file.Set(input.Rest(), input.Size());
    TagBlock *block = ID3Helper_Alloc();
    std::vector<std::string> warnings;
    try {
        if ((how & 4) == 0)
            ReadTags(file.Path(), kind, choice, block, warnings);
        else
            ReadTags({input.Rest(), input.Size()}, "stream", kind, choice, block, warnings);
    } catch (const Failure &) {
        // A file that is refused.
    }
    Walk(block);
    ID3Helper_Free(block);
    return 0;
}
