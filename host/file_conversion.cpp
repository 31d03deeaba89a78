// file_conversion.cpp: one file from its samples to its complete successor.
#include "host/file_conversion.h"

#include "host/audio/audio_writer.h"
#include "host/audio/completeness.h"
#include "host/audio/flac_sum.h"
#include "host/input_changes.h"
#include "host/libav/libav_files.h"
#include "host/open_input.h"
#include "host/open_source.h"
#include "host/pictures/sound_picture.h"
#include "host/plan.h"
#include "host/processing/hdcd_stream.h"
#include "host/processing/level_measurement.h"
#include "host/processing/read_ahead.h"
#include "host/processing/result_taps.h"
#include "host/processing/sample_guard.h"
#include "host/processing/sound_chain.h"
#include "host/system/failure.h"
#include "host/system/file_copy.h"
#include "host/system/paths.h"
#include "host/system/pipe_input.h"
#include "host/system/pipe_output.h"
#include "host/system/platform.h"
#include "host/system/safe_output.h"
#include "host/tags/tag_transfer.h"

#include <algorithm>
#include <chrono>
#include <limits>
#include <optional>
#include <vector>

namespace tonekit::host {

namespace {

constexpr uint32_t kReadFrames = 16384;
constexpr uint64_t kShortFrames = 4 * kReadFrames; // over before threads are of any use

class FileConversion : public PendingFile {
public:
    FileConversion(const Options &options, const Extras &extras, SampleSource &source, const Job &job,
                   const ProgressSink &progress, Threads threads)
        : options_(options), extras_(extras), job_(job), progress_(progress), source_(source),
          inputKind_(source.tagKind()), ownThreads_(threads == Threads::Several &&
                                                    (source.frames() == 0 || source.frames() > kShortFrames)),
          fromStream_(IsStandardStream(job.input)), toStream_(IsStandardStream(job.output))
    {
        if (!options.inPlace && !fromStream_ && !toStream_)
            CheckApart();
        report_.input = {source_.name(),  source_.type(),   source_.encoding(),
                         source_.lossy(), source_.format(), source_.frames()};
        const bool decodeHdcd = DecideHdcd();
        try {
            plan_ = options.inPlace
                        ? PlanToKeep(source_.format(), source_.loudspeakers())
                        : MakePlan(options,
                                   {source_.format(), source_.frames(), source_.lossy(),
                                    MayCopy() ? source_.container() : nullptr, source_.loudspeakers()},
                                   WantedContainer(), decodeHdcd);
            if (options.inPlace && source_.tagKind() == TagKind::None)
                throw Failure("this type of file can't hold tags");
            if (options.inPlace && !IsWritten(source_.tagKind()))
                throw Failure("the tags of this type of file can be read, and not changed");
        } catch (const Failure &failure) {
            throw Failure(source_.name() + ": " + failure.what());
        }
    }

    // The same with a source of its own, whose files were as `changes` knows before it was opened.
    FileConversion(const Options &options, const Extras &extras, std::unique_ptr<SampleSource> source,
                   InputChanges changes, const Job &job, const ProgressSink &progress, Threads threads)
        : FileConversion(options, extras, *source, job, progress, threads)
    {
        owned_ = std::move(source);
        changes_ = std::move(changes);
    }

    void Produce()
    {
        const auto start = Clock::now();
        if (options_.dryRun) {
            Describe();
            return;
        }
        if (job_.inFolder)
            MakeFolderOf(job_.output);
        if (plan_.changesLevel)
            SetLevel();
        if (!toStream_)
            output_.emplace(job_.output);
        if (options_.spectrogram)
            BeginPicture();
        if (plan_.copyFile)
            Copy();
        else
            Encode();
        if (const PipeInput *const pipe = source_.pipe())
            beginning_.emplace(pipe->kept().begin(), pipe->kept().end());
        files_ = source_.files();
        // Many files can wait for the last one of their album.
        owned_.reset();
        report_.seconds = SecondsSince(start);
    }

    MeasuredLevel Measure(const ProgressSink &progress)
    {
        return MeasureLevel(options_, plan_, source_, progress);
    }

    const ConversionReport &report() const override { return report_; }

    void Complete(const std::optional<Loudness> &album) override
    {
        if (options_.dryRun)
            return;
        const auto start = Clock::now();
        report_.albumLoudness = album;
        if (toStream_) {
            WarnOfTags();
        } else {
            AddTags(output_->temporary());
            CheckResult(output_->temporary());
        }
        if (picture_)
            picture_->Write(report_);
        if (options_.inPlace)
            WarnOfOtherNames();
        else
            WarnOfChanges();
        if (InterruptNoted())
            throw Interrupted();
        report_.seconds += SecondsSince(start);
    }

    std::filesystem::path completed() const override { return output_ ? output_->temporary() : ""; }

    void Commit() override
    {
        if (options_.dryRun)
            return;
        const auto start = Clock::now();
        if (picture_)
            picture_->Commit();
        // What another program has written would be lost.
        if (options_.inPlace && !changes_.Since().empty())
            throw Failure(report_.input.path +
                          ": another program has changed the file meanwhile, so it is left as it is now");
        if (output_)
            output_->Commit();
        report_.seconds += SecondsSince(start);
    }

    void BeginToStore() override
    {
        if (output_ && !options_.dryRun)
            output_->BeginToStore();
    }

    void Store() override
    {
        if (output_ && !options_.dryRun)
            output_->Store();
    }

private:
    using Clock = std::chrono::steady_clock;

    static double SecondsSince(Clock::time_point start)
    {
        return std::chrono::duration<double>(Clock::now() - start).count();
    }

    void CheckApart() const
    {
        for (const std::filesystem::path &input : InputsOf(job_)) {
            if (AreSameFile(input, job_.output))
                throw Failure(Utf8Name(job_.output) + ": input and output are the same file");
        }
    }

    // A thread that waits for a pipe or a caller's memory could not be stopped.
    bool ReadsFiles() const
    {
        const std::vector<std::filesystem::path> inputs = InputsOf(job_);
        return std::all_of(inputs.begin(), inputs.end(), [](const std::filesystem::path &input) {
            std::error_code error;
            return std::filesystem::is_regular_file(input, error);
        });
    }

    // Without --type, standard output gets the type of the input.
    const Container &WantedContainer()
    {
        const Container *const same = source_.container();
        // An extension that several types have means that of the input, if that is one of them.
        if (job_.container && !options_.type && same && job_.container->typeName && same->typeName)
            return *same;
        if (job_.container)
            return *job_.container;
        if (!source_.container())
            throw Failure("the type of the output isn't known: add --type");
        CheckTarget(options_, *source_.container());
        return *source_.container();
    }

    // What comes from a pipe comes once, and its header may say nothing of its length.
    bool MayCopy() const
    {
        return !source_.pipe() ||
               (source_.lossy() && !options_.replayGain && !options_.hash && !options_.spectrogram);
    }

    bool DecideHdcd()
    {
        if (options_.hdcd == HdcdChoice::Off)
            return false;
        if (!CanCarryHdcd(source_)) {
            if (options_.hdcd == HdcdChoice::On)
                throw Failure(source_.name() + ": HDCD needs 16 bit stereo, and this is " +
                              NameOf(source_.format()));
            return false;
        }
        report_.hdcd = ScanForHdcd(source_);
        if (options_.hdcd == HdcdChoice::On && *report_.hdcd != HdcdFinding::Effective)
            report_.warnings.push_back(report_.input.path +
                                       ": no HDCD that changes the sound in its first minute; "
                                       "decoded all the same");
        return options_.hdcd == HdcdChoice::On || *report_.hdcd == HdcdFinding::Effective;
    }

    static File StandardOutput()
    {
        File file;
        if (const std::error_code error = file.OpenStandardOutput())
            throw Failure(std::string(kStandardOutput) + ": " + error.message());
        return file;
    }

    std::unique_ptr<SampleWriter> MakeWriter()
    {
        const std::string name = NameOfOutput(job_.output);
        const bool throughLibav = IsWrittenThroughLibav(plan_.container->kind);
        if (throughLibav && toStream_)
            throw Failure(name + ": M4A is completed at its start and can't be written there: name a file");
        if (throughLibav)
            return WriteThroughLibav(output_->Create(), name, *plan_.container, plan_.target, plan_.encoder);
        if (!toStream_)
            return std::make_unique<AudioWriter>(output_->Create(), name, *plan_.container, plan_.target,
                                                 plan_.encoder, plan_.loudspeakers);
        const bool known = plan_.expectedFrames > 0 && plan_.source.rate == plan_.target.rate;
        return std::make_unique<AudioWriter>(
            std::make_unique<PipeOutput>(StandardOutput()), name, *plan_.container, plan_.target,
            plan_.encoder, known ? std::optional(plan_.expectedFrames) : std::nullopt, plan_.loudspeakers);
    }

    void Encode()
    {
        // The coder notes the sum of the same samples.
        if (plan_.copySamples && plan_.container->kind == ContainerKind::Flac && !toStream_)
            sum_ = source_.GiveSum();
        // It takes a tenth of the time of a change of rate, and each frame has a checksum of its own.
        else if (plan_.source.rate != plan_.target.rate)
            source_.GiveSum();
        const std::unique_ptr<SampleWriter> writer = MakeWriter();
        ResultTaps taps(options_, plan_.target, writer.get(), ownThreads_);
        Pump(taps);
        CheckLength(taps.frames());
        writer->Finish();
        // What the coder left out is seen too.
        if (picture_ && plan_.container->lossy && !toStream_)
            picture_->ReadOutput(output_->temporary(), NameOfOutput(job_.output));

        Describe();
        taps.Tell(report_);
    }

    // The coded audio stays as it is; samples are only read if something is to be measured.
    void Copy()
    {
        ResultTaps taps(options_, plan_.target, nullptr, ownThreads_);
        const bool reads = taps.Measures() || picture_;
        if (reads)
            Pump(taps);
        File file = toStream_ ? StandardOutput() : output_->Create();
        const auto progress = [&](double done) {
            if (!reads)
                progress_(done, done * report_.input.Seconds());
        };
        if (PipeInput *const pipe = source_.pipe()) {
            CopyStream(*pipe, source_.name(), file, NameOfOutput(job_.output), progress);
            CheckOggEnd(*pipe, source_.name());
        } else {
            CopyFile(job_.input, file, NameOfOutput(job_.output), progress);
        }
        if (taps.Measures())
            taps.Tell(report_);
        Describe();
    }

    // Sends all samples through.
    void Pump(ResultTaps &taps)
    {
        try {
            Convert(taps);
        } catch (const Interrupted &) {
            throw;
        } catch (...) {
            // An earlier block may have failed meanwhile; what fails first is what is said.
            taps.Finish();
            throw;
        }
        taps.Finish();
        if (picture_)
            picture_->Finish();
    }

    // Reads and converts on this thread and, where the file has threads of its own, on others as well.
    void Convert(ResultTaps &taps)
    {
        // A value that is no number, or becomes none, would make a whole stretch of the resampler's output
        // invalid.
        const double loudest = plan_.copyFile ? 0 : plan_.container->loudest;
        const bool resamples = plan_.source.rate != plan_.target.rate;
        SampleGuard before(plan_.source.sample,
                           resamples ? kLoudestSample : std::numeric_limits<double>::max());
        SampleGuard after(plan_.target.sample, loudest);
        const FrameSink sink = [&](const void *samples, uint32_t frames) {
            if (loudest > 0)
                samples = after.Guarded(samples, size_t{frames} * plan_.target.channels);
            taps.Take(samples, frames);
            if (picture_)
                picture_->TakeOutput(samples, frames);
        };
        SoundChain chain(options_, plan_);
        chain.LeadIn(source_);

        ReadAhead blocks(source_, kReadFrames, ownThreads_ && ReadsFiles());
        uint64_t done = 0;
        for (ReadAhead::Block block = blocks.Next(); block.frames > 0; block = blocks.Next()) {
            const void *samples = block.samples;
            if (picture_)
                picture_->TakeInput(samples, block.frames);
            const size_t count = size_t{block.frames} * plan_.source.channels;
            if (loudest > 0 || Mends())
                samples = before.Guarded(samples, count);
            chain.Write(samples, block.frames, sink);
            done += block.frames;
            ReportProgress(done);
        }
        chain.Finish(sink);
        TellLevel(chain);
        report_.input.frames = done;
        const std::string mended = GuardText(before.silenced() + after.silenced(), after.clamped(), loudest,
                                             chain.clipped(), plan_.source.channels != plan_.target.channels);
        Warn(mended);
        if (!Clips())
            Warn(FarTooLoudText(before.clamped()));
    }

    void Warn(const std::string &text)
    {
        if (!text.empty())
            report_.warnings.push_back(NameOfOutput(job_.output) + ": " + text);
    }

    // Whether what is no number would become one, or spread to other samples.
    bool Mends() const
    {
        return !plan_.copyFile && !plan_.copySamples &&
               (!IsFloat(plan_.target.sample) || plan_.source.rate != plan_.target.rate ||
                plan_.source.channels != plan_.target.channels);
    }

    // Whether the converter cuts what is beyond full scale. After a change of level the chain counts it.
    bool Clips() const
    {
        return !plan_.copyFile && !plan_.copySamples && !plan_.changesLevel &&
               plan_.target.sample != SampleFormat::Float64;
    }

    // A copy looks like its input.
    void BeginPicture()
    {
        const DrawnStream output{plan_.target, plan_.expectedFrames};
        picture_.emplace(PathFromUtf8(*options_.spectrogram), DrawnStream{plan_.source, source_.frames()},
                         plan_.copyFile ? std::nullopt : std::optional(output), ownThreads_);
    }

    // Measures the level where it has to be known first, and decides by how much it changes.
    void SetLevel()
    {
        std::shared_ptr<const MeasuredLevel> measured = job_.albumLevel;
        if (!measured && NeedsMeasurement(options_, plan_)) {
            if (!source_.CanRewind())
                throw Failure(source_.name() + ": --normalize and --mix-level auto read twice: name a file");
            measured = std::make_shared<MeasuredLevel>(
                Measure([this](double done, double audioSeconds) { progress_(done / 2, audioSeconds / 2); }));
            secondPass_ = true;
        }
        report_.level = LevelFor(options_, plan_, measured.get());
        if (options_.normalize && !report_.level->loudness)
            report_.warnings.push_back(report_.input.path +
                                       ": too quiet or too short for its loudness to be measured");
        plan_.gain = FactorOf(report_.level->gain);
        plan_.changesLevel = report_.level->gain != 0;
        plan_.dither = WantsDither(options_, plan_);
    }

    void TellLevel(const SoundChain &chain)
    {
        report_.limiter = chain.limiter();
        if (chain.tooLoud() == 0)
            return;
        report_.level->tooLoud = chain.tooLoud();
        const std::string samples =
            std::to_string(chain.tooLoud()) + (chain.tooLoud() == 1 ? " sample was" : " samples were");
        report_.warnings.push_back(NameOfOutput(job_.output) + ": " + samples +
                                   (plan_.container->lossy
                                        ? " made louder than full scale, where players clip"
                                        : " clipped at full scale"));
    }

    void ReportProgress(uint64_t done)
    {
        if (InterruptNoted())
            throw Interrupted();
        const double all = static_cast<double>(source_.frames());
        const double part = all > 0 ? static_cast<double>(done) / all : 0;
        const double seconds = static_cast<double>(done) / plan_.source.rate;
        if (secondPass_)
            progress_((1 + part) / 2, (all / plan_.source.rate + seconds) / 2);
        else
            progress_(part, seconds);
    }

    // A resampler that can't be made for two rates returns no frames and no error.
    void CheckLength(uint64_t frames)
    {
        if (frames == 0 && plan_.expectedFrames > 0)
            throw Failure(report_.input.path + ": can't be converted from " +
                          std::to_string(plan_.source.rate) + " to " + std::to_string(plan_.target.rate) +
                          " Hz");
        // Their coders write even the header with the first frames only.
        const ContainerKind kind = plan_.container->kind;
        if (frames == 0 &&
            (kind == ContainerKind::Flac || kind == ContainerKind::Mp3 || kind == ContainerKind::Opus))
            throw Failure(NameOfOutput(job_.output) + ": " + plan_.container->name +
                          " holds no audio of 0 frames: its input is empty or too short");
    }

    // New tags can make a file unreadable that could be read before: the line says which it speaks of.
    std::unique_ptr<SampleSource> OpenResult(const std::filesystem::path &written) const
    {
        try {
            return OpenAudioFile(written, report_.output.path);
        } catch (const Failure &error) {
            throw Failure(std::string(error.what()) + " once it is finished, so it is not kept");
        }
    }

    // Whether a new file notes its frames. What lossy coders but that of AAC add isn't noted.
    static bool IsNotedExactly(const StreamReport &result, ContainerKind kind)
    {
        return (!result.lossy || kind == ContainerKind::Aac) && result.frames != 0 &&
               kind != ContainerKind::Raw && kind != ContainerKind::RawBig;
    }

    // Reads back what the finished file says of itself. Coders may count otherwise. A copy, too, must be as
    // its input after a change of tags.
    void CheckResult(const std::filesystem::path &written)
    {
        const StreamReport &result = report_.output;
        if (!plan_.copyFile && !IsNotedExactly(result, plan_.container->kind))
            return;
        const std::unique_ptr<SampleSource> reader = OpenResult(written);
        const bool sameFrames = result.frames == 0 || reader->frames() == result.frames;
        if (!sameFrames || reader->format() != result.format)
            throw Failure(result.path + ": the finished file says " + std::to_string(reader->frames()) +
                          " frames of " + NameOf(reader->format()) + " instead of " +
                          std::to_string(result.frames) + " of " + NameOf(result.format) +
                          ", so it is not kept");
        if (sum_ && reader->GiveSum() != sum_)
            throw Failure(report_.input.path + ": " + kWrongSum);
    }

    void AddTags(const std::filesystem::path &written)
    {
        TagTransfer transfer;
        transfer.input = job_.input;
        transfer.inputKind = inputKind_;
        transfer.beginning = std::move(beginning_);
        transfer.written = written;
        transfer.writtenKind = plan_.copyFile ? inputKind_ : plan_.container->tags;
        transfer.copied = plan_.copyFile;
        transfer.shownName = report_.output.path;
        transfer.end = SamplesToN100nS(report_.output.frames, plan_.target.rate);
        transfer.part = job_.part;
        transfer.files = files_;
        transfer.inputRate = plan_.source.rate;
        transfer.track = job_.track;
        transfer.loudnessChanged = plan_.decodeHdcd || plan_.source.channels != plan_.target.channels;
        transfer.gain = report_.level ? report_.level->gain : 0;
        transfer.loudness = report_.loudness;
        transfer.albumLoudness = report_.albumLoudness;
        transfer.loudspeakers = plan_.loudspeakers;
        TransferTags(options_, extras_, transfer, report_.warnings);
    }

    // The successor of a file takes the place of one of its names.
    void WarnOfOtherNames()
    {
        uint64_t names = 0;
        if (!CountNames(job_.input, names) && names > 1)
            report_.warnings.push_back(report_.input.path +
                                       ": the file has other names (hard links), which keep what it was");
    }

    void WarnOfChanges()
    {
        for (const std::filesystem::path &input : changes_.Since())
            report_.warnings.push_back(Utf8Name(input) +
                                       ": another program has changed the file meanwhile, so the output may "
                                       "hold parts of its old and of its new content");
    }

    // A stream is gone before its tags are known.
    void WarnOfTags()
    {
        if (!options_.set.empty() || extras_.cover || extras_.chapters || options_.coverSize != 0)
            report_.warnings.push_back(std::string(kStandardOutput) +
                                       ": no tags are written there, so --set, --cover and --chapters are "
                                       "ignored");
    }

    // All of the report that is known before the work, and what is to be said of the source.
    void Describe()
    {
        const std::vector<std::string> warnings = source_.warnings();
        report_.warnings.insert(report_.warnings.end(), warnings.begin(), warnings.end());
        report_.dryRun = options_.dryRun;
        report_.part = job_.part;
        report_.spectrogram = options_.spectrogram.value_or("");
        for (const std::filesystem::path &input : job_.joined)
            report_.joined.push_back(Utf8Name(input));
        if (plan_.copyFile) {
            report_.output = report_.input;
            report_.output.path = NameOfOutput(job_.output);
            report_.copied = true;
            return;
        }
        report_.output = {NameOfOutput(job_.output), plan_.container->name, "",
                          plan_.container->lossy,    plan_.target,          plan_.expectedFrames};
        report_.quality = options_.quality;
        report_.encoder = plan_.encoder;
        report_.resampled = plan_.source.rate != plan_.target.rate;
        report_.dithered = plan_.dither;
        report_.hdcdDecoded = plan_.decodeHdcd;
        if (plan_.container != &WantedContainer())
            report_.warnings.push_back(report_.output.path +
                                       ": more than 4 GiB of samples, so it is written as " +
                                       plan_.container->name);
        WarnOfChannels();
    }

    void WarnOfChannels()
    {
        const bool named = plan_.container->kind == ContainerKind::Wav ||
                           (plan_.container->kind == ContainerKind::Flac && !toStream_);
        if (!NeedNoNames(plan_.loudspeakers) && !named)
            report_.warnings.push_back(report_.output.path + ": doesn't say that its channels are for " +
                                       NamesOf(plan_.loudspeakers));
        if (plan_.source.channels == 3 && plan_.target.channels != 3)
            report_.warnings.push_back(report_.input.path +
                                       ": the third of its channels is part of no mix, and is left out");
    }

    const Options &options_;
    const Extras &extras_;
    const Job &job_;
    const ProgressSink progress_;
    std::unique_ptr<SampleSource> owned_;
    SampleSource &source_; // until all is read
    TagKind inputKind_;
    const bool ownThreads_;
    bool fromStream_;                                     // standard input
    bool toStream_;                                       // standard output
    std::optional<std::vector<unsigned char>> beginning_; // of a stream, for its tags
    std::vector<SourceFile> files_;                       // that are joined
    std::optional<Md5::Digest> sum_;                      // of the samples, in an input that is coded anew
    InputChanges changes_;
    std::optional<SafeOutput> output_;
    std::optional<SoundPicture> picture_; // that is asked for
    Plan plan_;
    bool secondPass_ = false;
    ConversionReport report_;
};

// A file that needs no end.
class DoneFile : public PendingFile {
public:
    explicit DoneFile(ConversionReport report) : report_(std::move(report)) {}
    const ConversionReport &report() const override { return report_; }
    void Complete(const std::optional<Loudness> &) override {}
    std::filesystem::path completed() const override { return {}; }
    void Commit() override {}

private:
    ConversionReport report_;
};

// A report that names the files and no more.
ConversionReport ReportOfNames(const Options &options, const Job &job)
{
    ConversionReport report;
    report.input.path = Utf8Name(job.input);
    report.output.path = Utf8Name(job.output);
    report.skipped = job.skipped;
    report.dryRun = options.dryRun;
    return report;
}

ConversionReport CopyPlainly(const Options &options, const Job &job, const ProgressSink &progress)
{
    ConversionReport report = ReportOfNames(options, job);
    report.plainCopy = true;
    if (AreSameFile(job.input, job.output))
        throw Failure(Utf8Name(job.output) + ": input and output are the same file");
    if (options.dryRun)
        return report;
    MakeFolderOf(job.output);
    SafeOutput output(job.output);
    File file = output.Create();
    CopyFile(job.input, file, report.output.path, [&](double done) { progress(done, 0); });
    output.Commit();
    return report;
}

std::unique_ptr<FileConversion> Open(const Options &options, const Extras &extras, const Job &job,
                                     const ProgressSink &progress, Threads threads)
{
    InputChanges changes = IsStandardStream(job.input) ? InputChanges() : InputChanges(InputsOf(job));
    return std::make_unique<FileConversion>(options, extras, OpenInput(options, job), std::move(changes), job,
                                            progress, threads);
}

} // namespace

std::vector<std::filesystem::path> InputsOf(const Job &job)
{
    return job.joined.empty() ? std::vector{job.input} : job.joined;
}

std::unique_ptr<PendingFile> BeginFile(const Options &options, const Extras &extras, const Job &job,
                                       const ProgressSink &progress, Threads threads)
{
    if (!job.skipped.empty())
        return std::make_unique<DoneFile>(ReportOfNames(options, job));
    if (job.plainCopy)
        return std::make_unique<DoneFile>(CopyPlainly(options, job, progress));
    if (job.output.empty())
        return std::make_unique<DoneFile>(DrawInput(options, job, progress));
    std::unique_ptr<FileConversion> file = Open(options, extras, job, progress, threads);
    file->Produce();
    return file;
}

MeasuredLevel MeasureFile(const Options &options, const Extras &extras, const Job &job,
                          const ProgressSink &progress)
{
    return Open(options, extras, job, progress, Threads::One)->Measure(progress);
}

ConversionReport ConvertFile(const Options &options, const Extras &extras, const Job &job,
                             const ProgressSink &progress)
{
    return BeginFile(options, extras, job, progress, Threads::One)->Finish(std::nullopt);
}

ConversionReport ConvertSamples(const Options &options, const Extras &extras, SampleSource &source,
                                const Job &job, const ProgressSink &progress)
{
    FileConversion conversion(options, extras, source, job, progress, Threads::One);
    conversion.Produce();
    return conversion.Finish(std::nullopt);
}

} // namespace tonekit::host
