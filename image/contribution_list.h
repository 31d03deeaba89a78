// contribution_list.h: which source positions make up each output position of one pass, and with what
// weights.
#pragma once

#include <tonekit/image.h>

namespace tonekit {

// Four parallel arrays. The entries of output position i begin at i * stride in the last two; their source
// indices rise and lie inside the source. Plain data: tiered code reads it.
struct ContributionList {
    int32_t positions; // output positions
    size_t stride;     // room for entries of one output position
    int32_t *counts;   // entries of each output position
    double *sums;      // sum of its weights, in list order
    int32_t *indices;
    double *weights;
};

// The lists of a pass from source_size to target_size positions. Owns its arrays.
class ContributionLists {
public:
    ContributionLists() = default;
    ContributionLists(const ContributionLists &) = delete;
    ContributionLists &operator=(const ContributionLists &) = delete;
    ~ContributionLists();

    // Builds the lists; false if there isn't the memory or the radius isn't a number.
    bool Build(int32_t source_size, int32_t target_size, TonekitKernel kernel, double radius);
    const ContributionList &list() const { return list_; }

private:
    bool Allocate(int32_t target_size, size_t stride);

    ContributionList list_ = {};
};

} // namespace tonekit
