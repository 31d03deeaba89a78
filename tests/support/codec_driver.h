// codec_driver.h: drives one build of the JPEG codec, found by name, for tests and benchmarks: whole
// encodings and decodings in one call. The codec's errors become exceptions, its warnings a list.
#pragma once

#include <cstdint>
#include <functional>
#include <stdexcept>
#include <stdio.h>
#include <string>
#include <tonekit/codec/jpeglib.h>
#include <vector>

namespace tonekit::codec {

using Bytes = std::vector<uint8_t>;

// One build of the codec: its functions by their names.
class Codec {
public:
    using Find = std::function<void *(const char *)>;
    Codec(std::string label, Find find) : label_(std::move(label)), find_(std::move(find)) {}

    const std::string &Label() const { return label_; }
    template <class Function>
    Function &Get(const char *name) const
    {
        void *address = find_(name);
        if (!address)
            throw std::logic_error(std::string("no ") + name + " in " + label_);
        return *reinterpret_cast<Function *>(address);
    }

private:
    std::string label_;
    Find find_;
};

// The codec's function of that name: CODEC(codec, jpeg_set_quality)(&cinfo, 75, TRUE).
#define CODEC(codec, function) ((codec).Get<decltype(function)>(#function))

// The body of a letter.
Codec BodyCodec(char letter);
// The same sources in a library of their own, compiled with -O2 and nothing else.
Codec PlainCodec();
// The bodies that this processor runs.
std::vector<Codec> AllBodies();

// A fatal error of the codec.
struct Failure : std::runtime_error {
    Failure(int number, const char *text) : std::runtime_error(text), code(number) {}
    int code;
};

// An error manager that throws Failure and notes warnings.
struct Errors : jpeg_error_mgr {
    explicit Errors(const Codec &codec);
    std::vector<int> warnings;
};

// A compression or decompression object of a codec.
struct Compressor : jpeg_compress_struct {
    explicit Compressor(const Codec &used);
    Compressor(const Compressor &) = delete;
    Compressor &operator=(const Compressor &) = delete;
    ~Compressor();
    const Codec &codec;
    Errors errors;
};

struct Decompressor : jpeg_decompress_struct {
    explicit Decompressor(const Codec &used);
    Decompressor(const Decompressor &) = delete;
    Decompressor &operator=(const Decompressor &) = delete;
    ~Decompressor();
    const Codec &codec;
    Errors errors;
};

// Interleaved 8-bit samples.
struct Image {
    uint32_t width = 0;
    uint32_t height = 0;
    int components = 3;
    Bytes samples;

    size_t RowBytes() const { return static_cast<size_t>(width) * static_cast<size_t>(components); }
    bool operator==(const Image &) const = default;
};

struct Encoding {
    int quality = 75;
    int coarse = 0; // instead of the quality: a scale in per cent whose steps may go beyond 255
    int profile = JCP_FASTEST;
    J_COLOR_SPACE space = JCS_RGB;      // of the samples
    J_COLOR_SPACE stored = JCS_UNKNOWN; // of the file; the codec's choice if unknown
    int horizontal = 2;                 // sampling factors of the first component
    int vertical = 2;
    bool progressive = false;
    bool arithmetic = false;
    bool optimize = false;
    bool scans = true; // with JCP_MAX_COMPRESSION: search for the best progressive scans
    bool trellisDc = false;
    bool trellisQuantization = false;
    J_DCT_METHOD transform = JDCT_ISLOW;
    int smoothing = 0;
    int restartRows = 0;
};

struct Decoding {
    J_COLOR_SPACE space = JCS_UNKNOWN; // the codec's choice if unknown
    J_DCT_METHOD transform = JDCT_ISLOW;
    unsigned scale = 8; // eighths
    bool fancy = true;
    bool smoothing = true;
    int colours = 0; // of a palette; 0 for none
    bool twoPass = true;
    J_DITHER_MODE dither = JDITHER_FS;
};

// Readies a compressor for the image, all but its destination.
void Configure(Compressor &compressor, const Image &image, const Encoding &encoding);
void WriteRows(Compressor &compressor, const Image &image);
Bytes Encode(const Codec &codec, const Image &image, const Encoding &encoding);

// Decodes what the source that is set up delivers. A palette is applied to its indices.
Image DecodeFrom(Decompressor &decompressor, const Decoding &decoding);
Image Decode(const Codec &codec, const Bytes &file, const Decoding &decoding = {},
             std::vector<int> *warnings = nullptr);

// The whole of a file; throws if there is none.
Bytes ReadFile(const std::string &path);
// A photograph that a Debian package ships, as a JPEG file.
Bytes PhotographFile();

// Noise over slopes: every frequency, and edges at every phase.
Image TestImage(uint64_t seed, uint32_t width, uint32_t height, int components);

// Peak signal to noise ratio in decibels.
double PeakSignalToNoise(const Image &one, const Image &other);

} // namespace tonekit::codec
