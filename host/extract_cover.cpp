// extract_cover.cpp: from the tags of an audio file to a picture file.
#include "host/extract_cover.h"

#include "host/open_source.h"
#include "host/pictures/picture_facts.h"
#include "host/system/failure.h"
#include "host/system/paths.h"
#include "host/system/safe_output.h"
#include "host/tags/tag_reader.h"

#include <algorithm>
#include <cctype>

namespace tonekit::host {

namespace {

namespace fs = std::filesystem;

Picture CoverOf(const Options &options, const fs::path &input, std::vector<std::string> &warnings)
{
    const TagBlockPointer block = NewTagBlock();
    TagChoice choice;
    choice.text = [](const std::string &) { return false; };
    choice.chapters = false;
    ReadTags(input, OpenSource(options, input)->tagKind(), choice, block.get(), warnings);
    const std::vector<Picture> pictures = PicturesOf(block.get());
    if (pictures.empty())
        throw Failure(Utf8Name(input) + ": holds no picture");
    const auto front = std::find_if(pictures.begin(), pictures.end(),
                                    [](const Picture &picture) { return picture.type == kFrontCover; });
    return front != pictures.end() ? *front : pictures.front();
}

// The extensions of a kind of picture; empty for an unknown one.
std::vector<std::string> ExtensionsOf(PictureKind kind)
{
    switch (kind) {
    case PictureKind::Unknown:
        return {};
    case PictureKind::Jpeg:
        return {".jpg", ".jpeg", ".jpe", ".jfif"};
    case PictureKind::Png:
        return {".png"};
    case PictureKind::Gif:
        return {".gif"};
    case PictureKind::Bmp:
        return {".bmp", ".dib"};
    case PictureKind::WebP:
        return {".webp"};
    }
    return {};
}

bool FitsName(PictureKind kind, const fs::path &output)
{
    std::string extension = Utf8Name(output.extension());
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char c) { return std::tolower(c); });
    const std::vector<std::string> known = ExtensionsOf(kind);
    return known.empty() || std::find(known.begin(), known.end(), extension) != known.end();
}

} // namespace

std::string ExtractCover(const Options &options, std::vector<std::string> &warnings)
{
    const fs::path input = PathFromUtf8(options.inputs[0]);
    const fs::path target = PathFromUtf8(*options.extractCover);
    const Picture picture = CoverOf(options, input, warnings);
    if (AreSameFile(input, target))
        throw Failure(*options.extractCover + ": input and output are the same file");
    SafeOutput output(target);
    File file = output.Create();
    std::error_code error = file.Write(picture.data.data(), picture.data.size());
    if (!error)
        error = file.Close();
    if (error)
        throw Failure(*options.extractCover + ": writing failed: " + error.message());
    if (InterruptNoted())
        throw Interrupted();
    output.Commit();

    const PictureFacts facts = FactsOf(picture.data);
    if (!FitsName(facts.kind, target))
        warnings.push_back(*options.extractCover + ": the picture is kept as it is, which is " +
                           MimeTypeOf(facts.kind));
    const std::string size = facts.width > 0 ? ", " + std::to_string(facts.width) + " by " +
                                                   std::to_string(facts.height) + " pixels"
                                             : "";
    return options.inputs[0] + " -> " + *options.extractCover + " (" + picture.mime + size + ", " +
           std::to_string(picture.data.size()) + " bytes)";
}

} // namespace tonekit::host
