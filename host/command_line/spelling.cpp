// spelling.cpp: distances between words.
#include "host/command_line/spelling.h"

#include <algorithm>

namespace tonekit::host {

namespace {

// A word without the marks that people use differently: --ditherMode, --dither_mode.
std::string Plain(std::string_view word)
{
    std::string plain;
    for (const char letter : word) {
        if (letter >= 'A' && letter <= 'Z')
            plain += static_cast<char>(letter - 'A' + 'a');
        else if (letter != '-' && letter != '_')
            plain += letter;
    }
    return plain;
}

} // namespace

size_t Misspellings(std::string_view a, std::string_view b)
{
    // distance[i][j] is that of the first i letters of a and the first j of b.
    std::vector<std::vector<size_t>> distance(a.size() + 1, std::vector<size_t>(b.size() + 1));
    for (size_t i = 0; i <= a.size(); ++i) {
        for (size_t j = 0; j <= b.size(); ++j) {
            size_t &least = distance[i][j];
            if (i == 0 || j == 0) {
                least = i + j;
                continue;
            }
            least = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                              distance[i - 1][j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1)});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1])
                least = std::min(least, distance[i - 2][j - 2] + 1);
        }
    }
    return distance[a.size()][b.size()];
}

std::string ClosestName(std::string_view word, const std::vector<std::string> &names)
{
    constexpr size_t kLongest = 64; // no name is nearly as long
    const std::string plain = Plain(word.substr(0, kLongest));
    // A third of the letters may be wrong.
    size_t best = std::max<size_t>(1, plain.size() / 3) + 1;
    std::string closest;
    for (const std::string &name : names) {
        const std::string candidate = Plain(name);
        size_t distance = Misspellings(plain, candidate);
        // Other programs take the beginning of a name (--dith), or have a longer one (--samplerate).
        if (plain.size() >= 3 && candidate.starts_with(plain))
            distance = 0;
        else if (candidate.size() >= 4 && plain.ends_with(candidate))
            distance = std::min<size_t>(distance, 1);
        if (distance < best && distance < candidate.size()) {
            best = distance;
            closest = name;
        }
    }
    return closest;
}

} // namespace tonekit::host
