// open_input.cpp: whole files and parts of files as sources.
#include "host/open_input.h"

#include "host/audio_reader.h"
#include "host/part_source.h"

namespace tonekit::host {

std::unique_ptr<SampleSource> OpenInput(const Job &job)
{
    std::unique_ptr<SampleSource> source = std::make_unique<AudioReader>(job.input);
    if (job.part)
        source = std::make_unique<PartSource>(std::move(source), *job.part);
    return source;
}

} // namespace tonekit::host
