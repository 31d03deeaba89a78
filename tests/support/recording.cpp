// recording.cpp: reads a plain WAV file, chunk by chunk.
#include "tests/support/recording.h"

#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

namespace tonekit {

namespace {

template <class Value>
Value ValueAt(const std::string &bytes, size_t place)
{
    Value value;
    std::memcpy(&value, bytes.data() + place, sizeof value);
    return value;
}

} // namespace

Recording ReadRecording(const std::string &name)
{
    const std::string path = "/usr/share/sounds/alsa/" + name;
    std::ifstream file(path, std::ios::binary);
    const std::string bytes(std::istreambuf_iterator<char>(file), {});
    if (bytes.size() < 12 || bytes.compare(0, 4, "RIFF") != 0)
        throw std::runtime_error(path + " is missing: install alsa-utils");
    Recording recording;
    for (size_t place = 12; place + 8 <= bytes.size();) {
        const std::string chunk = bytes.substr(place, 4);
        const auto size = ValueAt<uint32_t>(bytes, place + 4);
        if (chunk == "fmt ") {
            if (ValueAt<uint16_t>(bytes, place + 10) != 1 || ValueAt<uint16_t>(bytes, place + 22) != 16)
                throw std::runtime_error(path + " is not mono with 16 bits");
            recording.rate = ValueAt<uint32_t>(bytes, place + 12);
        } else if (chunk == "data") {
            recording.samples.resize(size / 2);
            std::memcpy(recording.samples.data(), bytes.data() + place + 8, recording.samples.size() * 2);
        }
        place += 8 + size + size % 2;
    }
    return recording;
}

} // namespace tonekit
