// image_cases.cpp: the resampler's line pass with lists of every length, gaps, odd line counts and both
// directions.
#include "image/resample_lines.h"
#include "tests/tiers/tiers.h"

#include <limits>

namespace tonekit::tiers {

namespace {

// Lists with random, rising indices and weights that now and then are no numbers.
struct RandomList {
    std::vector<int32_t> counts;
    std::vector<double> sums;
    std::vector<int32_t> indices;
    std::vector<double> weights;
    ContributionList list;

    RandomList(Random &random, size_t positions, size_t source, size_t stride)
        : counts(positions), sums(positions), indices(positions * stride), weights(positions * stride)
    {
        const double odd[] = {std::numeric_limits<double>::quiet_NaN(),
                              std::numeric_limits<double>::infinity(), 1e308, -0.0, 5e-324};
        for (size_t i = 0; i < positions; ++i) {
            size_t index =
                random.Below(3) ? i * source / positions : random.Below(static_cast<uint32_t>(source));
            for (; index < source && static_cast<size_t>(counts[i]) < stride;
                 index += 1 + random.Below(2) * random.Below(9)) {
                const auto entry = i * stride + static_cast<size_t>(counts[i]++);
                indices[entry] = static_cast<int32_t>(index);
                weights[entry] = random.Below(400) ? random.Uniform() - 0.3 : odd[random.Below(5)];
                sums[i] += weights[entry];
                if (random.Below(static_cast<uint32_t>(stride)) == 0)
                    break;
            }
            if (random.Below(50) == 0)
                sums[i] = 0.0;
        }
        list = {static_cast<int32_t>(positions),
                stride,
                counts.data(),
                sums.data(),
                indices.data(),
                weights.data()};
    }
};

} // namespace

static void ExerciseResampleLines(const Bodies &bodies, Random &random, Record &record)
{
    const auto body = bodies.Get<decltype(ResampleLines)>("ResampleLines");
    for (size_t lines = 1; lines <= 19; ++lines)
        for (const size_t stride : {1u, 7u, 25u, 200u}) {
            const size_t source = 1 + random.Below(300);
            const size_t positions = 1 + random.Below(90);
            const RandomList weights(random, positions, source, stride);
            std::vector<uint32_t> pixels(lines * source);
            random.Fill(pixels.data(), pixels.size() * sizeof(uint32_t));
            GuardedBuffer rows(lines * positions * sizeof(uint32_t), 4 * random.Below(8));
            const LinePass across = {&weights.list,       lines, pixels.data(), 1, source,
                                     rows.As<uint32_t>(), 1,     positions};
            body(&across);
            record.Guards(rows);
            GuardedBuffer columns(lines * positions * sizeof(uint32_t), 4 * random.Below(8));
            const LinePass down = {&weights.list, lines, pixels.data(), lines, 1, columns.As<uint32_t>(),
                                   lines,         1};
            body(&down);
            record.Guards(columns);
        }
}
TONEKIT_TIER_CASE(ExerciseResampleLines, "ResampleLines");

static void BenchResampleLines(const Bodies &bodies)
{
    static Random random(1);
    static const RandomList weights(random, 400, 1600, 25);
    static const std::vector<uint32_t> pixels(1600 * 64, 0x80FF4020);
    static std::vector<uint32_t> target(400 * 64);
    const LinePass pass = {&weights.list, 64, pixels.data(), 1, 1600, target.data(), 1, 400};
    bodies.Get<decltype(ResampleLines)>("ResampleLines")(&pass);
}
TONEKIT_TIER_BENCH(BenchResampleLines, "ResampleLines");

} // namespace tonekit::tiers
