// tag_parts.h: puts chapters and pictures into a file's tags, and takes them out.
#pragma once

#include "host/tags/tag_block.h"
#include "host/tags/tag_file.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace tonekit::host {

TagLib::String FromUtf8(const std::string &text);

// Adds chapters to a file that has none: as text tags or as frames, by the kind of file; to MP4 files not
// yet. `end` is the length of the audio in 100 ns, where the last chapter ends.
void AddChapters(TagFile &file, TagLib::PropertyMap &properties, const std::vector<Chapter> &chapters,
                 uint64_t end);
// Removes all chapters, from the text tags too.
void RemoveChapters(TagFile &file, TagLib::PropertyMap &properties);

// Adds a picture after those that the file has. Returns false if it is too large for this kind of file.
bool AddPicture(TagFile &file, const Picture &picture);
// Removes the pictures of those types for which the answer is yes.
void RemovePictures(TagFile &file, const std::function<bool(int type)> &goes);
// Removes whatever is in an ID3v2 tag, an APE tag or that of an MP4 file, known or not.
void RemoveAllFrames(TagFile &file);

// The frames of an ID3v2 tag that nobody can read without a key, and that TagLib would write as if they were
// not encrypted: those whose names TagLib knows otherwise.
std::vector<TagLib::ID3v2::Frame *> EncryptedFrames(const TagLib::ID3v2::Tag &tag);
// Adds a warning if there are any.
void TellEncryptedFrames(const TagLib::ID3v2::Tag &tag, const std::string &shownName,
                         std::vector<std::string> &warnings);
// Adds a warning if TagLib drops texts that aren't UTF-8.
void TellIllFormedTexts(TagFile &file, const std::string &shownName, std::vector<std::string> &warnings);

// Chapters of MP4 files are no part of their tags: puts these in the place of all others when the tags are
// stored. Throws Failure; `shownName` is for messages.
void StoreMp4Chapters(const std::filesystem::path &path, const std::vector<Chapter> &chapters,
                      const std::string &shownName, std::vector<std::string> &warnings);

} // namespace tonekit::host
