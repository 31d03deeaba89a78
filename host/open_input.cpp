// open_input.cpp: whole files and parts of files as sources.
#include "host/open_input.h"

#include "host/audio/part_source.h"
#include "host/joined_source.h"
#include "host/open_source.h"

#include <utility>

namespace tonekit::host {

std::unique_ptr<SampleSource> OpenInput(const Options &options, const Job &job)
{
    if (!job.joined.empty())
        return std::make_unique<JoinedSource>(options, job.joined);
    std::unique_ptr<SampleSource> source = OpenSource(options, job.input);
    if (job.part)
        source = std::make_unique<PartSource>(std::move(source), *job.part);
    return options.hdcd != HdcdChoice::Off ? ReadableTwice(std::move(source)) : std::move(source);
}

} // namespace tonekit::host
