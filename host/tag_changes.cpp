// tag_changes.cpp: moves chapters with the audio that they are about.
#include "host/tag_changes.h"

#include <algorithm>

namespace tonekit::host {

std::vector<Chapter> ChaptersOfPart(const std::vector<Chapter> &chapters, const FilePart &part)
{
    std::vector<Chapter> sorted = chapters;
    std::stable_sort(sorted.begin(), sorted.end(),
                     [](const Chapter &a, const Chapter &b) { return a.position < b.position; });
    std::vector<Chapter> moved;
    for (const Chapter &chapter : sorted) {
        if (part.end && chapter.position >= *part.end)
            break;
        // Of those that begin no later than the part, the last one goes on in it.
        if (chapter.position <= part.start)
            moved.clear();
        moved.push_back({chapter.position - std::min(chapter.position, part.start), chapter.name});
    }
    return moved;
}

} // namespace tonekit::host
