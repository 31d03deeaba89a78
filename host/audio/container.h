// container.h: the kinds of audio file that the program writes, and what each can hold.
#pragma once

#include "host/audio/sample_format.h"
#include "host/tags/tag_kind.h"

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>
#include <vector>

namespace tonekit::host {

enum class ContainerKind { Wav, Rf64, W64, Flac, Vorbis, Opus, Mp3, Aiff, Au, Caf, Raw, RawBig, Aac, Alac };

struct Container {
    ContainerKind kind;
    const char *name;                     // for people
    std::vector<const char *> extensions; // without the dot; the first is the usual one
    int soundFileMajor;                   // libsndfile's type of file; 0: it doesn't know it
    std::vector<SampleFormat> formats;    // rising; a single Float32 for coders that have no sample depth
    bool lossy;                           // such a coder
    TagKind tags;                         // the form of its tags
    uint64_t byteLimit;                   // of the samples of a file; 0: none that matters
    uint32_t maxChannels;
    std::vector<uint32_t> rates; // all that it takes, rising; empty: any from 1 to maxRate
    uint32_t maxRate;
    double loudest = 0;             // magnitude of samples that its coder takes; 0: no coder that minds
    const char *typeName = nullptr; // of one of several types with one extension; null: the first extension
};

// What --type calls it.
inline const char *TypeNameOf(const Container &container)
{
    return container.typeName ? container.typeName : container.extensions[0];
}

// All containers, in the order in which help lists them.
const std::vector<Container> &Containers();

const Container &ContainerOf(ContainerKind kind);

// The container that has an extension (without the dot, in any case), or null.
const Container *ContainerByExtension(std::string_view extension);

// The container that --type calls so, or that has such an extension; null if there is none.
const Container *ContainerByType(std::string_view type);

// The format closest to the wanted one among those that the container holds: the same, or else the next finer
// one, or else its finest.
SampleFormat ClosestFormat(const Container &container, SampleFormat wanted);

// The rate itself if the container holds it, or else the next higher one, or else its highest.
uint32_t ClosestRate(const Container &container, uint32_t wanted);

// Why the container can't hold such a stream, as the end of a sentence that begins with the container's name;
// empty if it can.
std::string Objection(const Container &container, const AudioFormat &format);

// Whether a file's samples are the bytes of the library's own: integers, where files keep the lowest byte
// first. Floats are left to libsndfile, which notes their peaks in RF64.
bool HoldsAsTheyAre(const Container &container, SampleFormat format);

// libsndfile's number for a stream of this form in the container.
int SoundFileFormat(const Container &container, const AudioFormat &format);

} // namespace tonekit::host
