// replay_main.cpp: runs a fuzz target over files, folders of files, and random mutations of what it has read.
#include "tests/support/random.h"

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t *data, size_t size);

namespace {

using Input = std::vector<uint8_t>;

Input ReadFile(const std::filesystem::path &path)
{
    std::ifstream file(path, std::ios::binary);
    return Input(std::istreambuf_iterator<char>(file), {});
}

// The files below a path, in an order that is the same everywhere.
std::vector<std::filesystem::path> FilesBelow(const std::filesystem::path &path)
{
    std::vector<std::filesystem::path> files;
    if (!std::filesystem::is_directory(path))
        return {path};
    for (const auto &entry : std::filesystem::recursive_directory_iterator(path))
        if (entry.is_regular_file())
            files.push_back(entry.path());
    std::sort(files.begin(), files.end());
    return files;
}

const Input *running = nullptr;

// Tells the input that a target stopped at, for `xxd -r -p` to make a file of.
void TellInput(int)
{
    std::fputs("stopped at this input:\n", stderr);
    for (size_t i = 0; i < running->size(); ++i)
        std::fprintf(stderr, "%02x%s", (*running)[i], (i + 1) % 40 == 0 ? "\n" : "");
    std::fputs("\n", stderr);
    std::fflush(stderr);
}

// An exactly sized copy, so that a read past the input's end is caught by a sanitizer.
void RunOne(const Input &input)
{
    const std::vector<uint8_t> copy(input);
    running = &input;
    LLVMFuzzerTestOneInput(copy.data(), copy.size());
}

Input Mutate(Input input, tonekit::Random &random)
{
    const uint32_t changes = 1 + random.Below(8);
    for (uint32_t change = 0; change < changes; ++change) {
        const uint32_t place = random.Below(static_cast<uint32_t>(input.size()) + 1);
        switch (random.Below(4)) {
        case 0:
            input.insert(input.begin() + place, static_cast<uint8_t>(random.Next()));
            break;
        case 1:
            input.resize(place);
            break;
        case 2:
            if (place < input.size())
                input[place] ^= static_cast<uint8_t>(1u << random.Below(8));
            break;
        default:
            if (place < input.size())
                input[place] = static_cast<uint8_t>(random.Next());
            break;
        }
    }
    return input;
}

} // namespace

int main(int argc, char **argv)
{
    uint64_t rounds = 0;
    uint64_t seed = 1;
    std::vector<Input> inputs = {{}};
    for (int i = 1; i < argc; ++i) {
        const std::string word = argv[i];
        if (word == "--random" && i + 1 < argc)
            rounds = std::strtoull(argv[++i], nullptr, 0);
        else if (word == "--seed" && i + 1 < argc)
            seed = std::strtoull(argv[++i], nullptr, 0);
        else if (!std::filesystem::exists(word))
            std::fprintf(stderr, "%s: no such corpus\n", word.c_str());
        else
            for (const auto &file : FilesBelow(word))
                inputs.push_back(ReadFile(file));
    }
    std::signal(SIGABRT, TellInput);
    for (const Input &input : inputs)
        RunOne(input);
    tonekit::Random random(seed);
    for (uint64_t round = 0; round < rounds; ++round)
        RunOne(Mutate(inputs[random.Below(static_cast<uint32_t>(inputs.size()))], random));
    std::printf("%zu inputs and %llu random rounds from seed %llu\n", inputs.size(),
                static_cast<unsigned long long>(rounds), static_cast<unsigned long long>(seed));
    return 0;
}
