// program_failure_test.cpp: bad input and bad luck end in one line, the right status and no harm.
#include "tests/host/failures.h"

#include <nlohmann/json.hpp>

namespace tonekit::host::test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

TEST_F(Failures, OfInputsThatAreNoAudio)
{
    WriteText(folder / "text.wav", "this is no audio file at all");
    WriteText(folder / "empty.wav", "");
    ExpectBadInput("no such file", folder / "none.wav");
    ExpectBadInput("not an audio file", folder / "text.wav");
    ExpectBadInput("empty", folder / "empty.wav");
}

TEST_F(Failures, OfInputsWithoutFrames)
{
    for (const int format : {kWav16, SF_FORMAT_AIFF | SF_FORMAT_PCM_16, SF_FORMAT_W64 | SF_FORMAT_FLOAT}) {
        WriteSound(folder / "none", Sound{format, 44100, 2, {}});
        ExpectBadInput("0 frames", folder / "none");
    }
}

// Their coders would write no byte, or a header that isn't followed by audio.
TEST_F(Failures, OfOutputsThatWouldHoldNoFrame)
{
    WriteSound(folder / "one.wav", Noise(kWav16, 192000, 2, 1));
    for (const char *name : {"none.flac", "none.mp3", "none.opus"})
        ExpectFailure(1, "0 frames", {"--rate", "8000", folder / "one.wav", folder / name});
}

// libsndfile refuses an AIFF file with these eight bytes after its form once a tag of odd length is before
// them; one of the two titles makes one.
TEST_F(Failures, OfFilesThatNewTagsWouldMakeUnreadable)
{
    const std::string name = folder / "more.aiff";
    WriteText(name, std::string("FORM\0\0\0\x36"
                                "AIFFCOMM\0\0\0\x12\0\1\0\0\0\4\0\x10\x40\x0E\xAC\x44\0\0\0\0\0\0"
                                "SSND\0\0\0\x10\0\0\0\0\0\0\0\0\0\1\0\2\0\3\0\4"
                                "FORM\1\2\3\4",
                                70));
    const std::string before = ReadText(name);
    int refused = 0;
    for (const char *title : {"A", "AB"}) {
        WriteText(name, before);
        const std::vector<std::string> edit = {"--in-place", "--set", std::string("TITLE=") + title, name};
        if (RunHost(edit).status == 0) {
            EXPECT_EQ(RunHost({"--info", name}).status, 0);
            continue;
        }
        ++refused;
        ExpectFailure(1, "once it is finished, so it is not kept", edit);
        EXPECT_EQ(ReadText(name), before);
    }
    EXPECT_EQ(refused, 1);
}

// The one frame of MPEG audio has the mark of a tag of 30 letters a field in it, where such a tag would be.
TEST_F(Failures, OfFilesWhoseAudioLooksLikeATag)
{
    const std::string name = folder / "frame.mp3";
    const std::string frame = std::string("\xFF\xE3\x48\xC4", 4) + std::string(284, '\0');
    const std::vector<std::string> edit = {"--in-place", "--no-tags", "--set", "TITLE=A", name};
    WriteText(name, frame);
    EXPECT_EQ(RunHost(edit).status, 0);
    EXPECT_TRUE(ReadText(name).ends_with(frame));
    std::string marked = frame;
    marked.replace(160, 3, "TAG");
    WriteText(name, marked);
    EXPECT_EQ(RunHost({"--info", name}).status, 0);
    ExpectFailure(1, "once it is finished, so it is not kept", edit);
    EXPECT_EQ(ReadText(name), marked);
}

TEST_F(Failures, OfInputsWithoutAWholeFrame)
{
    const std::string name = folder / "frame.mp3";
    WriteText(name, std::string("\xFF\xE3\x48\xC4", 4) + std::string(70, '\0'));
    ExpectFailure(1, name + ": not an audio file that can be read (none of its audio can be decoded)",
                  {"--info", name});
}

TEST_F(Failures, OfInputsWithTooManyChannels)
{
    WriteSound(folder / "nine.wav", Noise(kWav16, 44100, 9, 100));
    ExpectBadInput("9 channels", folder / "nine.wav");
}

TEST_F(Failures, OfInputsThatAreCutOff)
{
    const struct {
        const char *extension;
        int format;
    } forms[] = {{"wav", kWav16},
                 {"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16},
                 {"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS},
                 {"opus", SF_FORMAT_OGG | SF_FORMAT_OPUS},
                 {"mp3", SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III},
                 {"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_24},
                 {"caf", SF_FORMAT_CAF | SF_FORMAT_PCM_16},
                 {"w64", SF_FORMAT_W64 | SF_FORMAT_PCM_16}};
    for (const auto &form : forms) {
        const std::string name = folder / (std::string("cut.") + form.extension);
        WriteSound(name, Tone(form.format, 48000, 2, 100000, 440));
        CutOff(name, fs::file_size(name) * 2 / 3);
        ExpectFailure(1, form.extension == std::string("flac") ? "breaks off" : "cut off",
                      {name, folder / "old.wav"});
        fs::remove(name);
    }
}

TEST_F(Failures, OfOutputsThatCantBeWritten)
{
    ExpectFailure(1, "no folder", {folder / "good.wav", folder / "nowhere/out.wav"});
    ExpectFailure(1, "", {folder / "good.wav", folder / "old.wav/out.wav"});
}

TEST_F(Failures, OfInputAndOutputBeingOneFile)
{
    fs::create_hard_link(folder / "good.wav", folder / "hard.wav");
    const std::string before = ReadText(folder / "good.wav");
    for (const char *name : {"good.wav", "hard.wav", "./good.wav"}) {
        ExpectFailure(1, "same file", {folder / "good.wav", folder / name});
        ExpectFailure(1, "same file", {folder / name, folder / "good.wav"});
    }
    ExpectFailure(1, "same file", {folder / "good.wav", folder.path().string()});
    EXPECT_EQ(ReadText(folder / "good.wav"), before);
}

TEST_F(Failures, OfTheCommandLine)
{
    const std::string in = folder / "good.wav";
    ExpectFailure(2, "INPUT", {});
    ExpectFailure(2, "OUTPUT", {in});
    ExpectFailure(2, "no option", {"--nonsense", in, folder / "out.wav"});
    ExpectFailure(2, "--channels", {"-c", "3", in, folder / "out.wav"});
    ExpectFailure(2, "extension", {in, folder / "out"});
    ExpectFailure(2, ".xyz", {in, folder / "out.xyz"});
    ExpectFailure(2, "FLAC", {"-b", "64f", in, folder / "out.flac"});
    ExpectFailure(2, "MP3", {"-r", "96000", in, folder / "out.mp3"});
}

TEST_F(Failures, OfFilesForTheTags)
{
    const std::string in = folder / "good.wav";
    WriteText(folder / "bad.txt", "not a chapter");
    ExpectFailure(1, "no such file", {"--cover", folder / "none.jpg", in, folder / "out.flac"});
    ExpectFailure(1, "no picture", {"--cover", folder / "bad.txt", in, folder / "out.flac"});
    ExpectFailure(1, "line 1", {"--chapters", folder / "bad.txt", in, folder / "out.flac"});
}

TEST_F(Failures, OfHdcdWhereThereCanBeNone)
{
    WriteSound(folder / "deep.wav", Noise(SF_FORMAT_WAV | SF_FORMAT_PCM_24, 44100, 2, 100));
    ExpectFailure(1, "16 bit stereo", {"--hdcd", "on", folder / "deep.wav", folder / "out.wav"});
}

TEST_F(Failures, AreToldInJsonToo)
{
    const Outcome outcome = RunHost({"--json", folder / "none.wav", folder / "out.wav"});
    EXPECT_EQ(outcome.status, 1);
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ(json["ok"], false);
    const Json &file = json["files"][0];
    EXPECT_EQ(file["error"], folder / "none.wav" + ": no such file");
    EXPECT_EQ(file["warnings"], Json::array());
    EXPECT_EQ(file["input"]["path"], folder / "none.wav");
    EXPECT_EQ(file["output"]["path"], folder / "out.wav");
    for (const char *side : {"input", "output"}) {
        for (const char *member : {"type", "encoding", "lossy", "rate", "channels", "format", "bits", "float",
                                   "frames", "seconds"})
            EXPECT_EQ(file[side].at(member), nullptr) << member;
    }
    for (const char *member : {"quality", "copied", "encoder", "dither", "hdcd", "hdcdDecoded", "replaygain",
                               "hash", "seconds", "speed"})
        EXPECT_EQ(file.at(member), nullptr) << member;
}

TEST_F(Failures, OfAllAreToldInJsonToo)
{
    const std::string none = folder / "none.wav";
    const std::string in = folder / "good.wav";
    const std::string both = fs::path(folder / "out/good.wav").make_preferred().string();
    const Json nothing = {
        {"ok", false}, {"files", Json::array()}, {"frames", 0}, {"seconds", 0.0}, {"speed", 0.0}};
    const struct {
        int status;
        std::string error;
        std::vector<std::string> names;
    } runs[] = {
        {1, none + ": no such file", {in, none, folder / "out"}},
        {2, in + " and " + in + " would both become " + both, {in, in, folder / "out"}},
        {1,
         (folder / "none.png") + ": no such file",
         {"--cover", folder / "none.png", in, folder / "out.flac"}},
        {1, (folder / "empty") + ": the folder holds no audio files", {"--info", folder / "empty"}},
    };
    std::filesystem::create_directory(folder / "empty");
    for (const auto &run : runs) {
        std::vector<std::string> arguments = run.names;
        arguments.insert(arguments.begin(), "--json");
        const Outcome outcome = RunHost(arguments);
        EXPECT_EQ(outcome.status, run.status);
        Json expected = nothing;
        expected["error"] = run.error;
        EXPECT_EQ(Json::parse(outcome.out), expected) << outcome.out;
        EXPECT_NE(outcome.err.find(run.error), std::string::npos) << outcome.err;
    }
    // Where audio goes to standard output, the report doesn't.
    const Outcome outcome = RunHost({"--json", "--cover", folder / "none.png", "-t", "wav", in, "-"});
    EXPECT_EQ(outcome.out, "");
    EXPECT_NE(outcome.err.find("\"ok\": false"), std::string::npos) << outcome.err;
}

TEST_F(Failures, OfInformationAreToldInJsonToo)
{
    const Outcome outcome = RunHost({"--info", "--json", folder / "good.wav", folder / "none.wav"});
    EXPECT_EQ(outcome.status, 1);
    const Json json = Json::parse(outcome.out);
    EXPECT_EQ(json["ok"], false);
    EXPECT_EQ(json["files"][0]["rate"], 44100);
    const Json &file = json["files"][1];
    EXPECT_EQ(file["ok"], false);
    EXPECT_EQ(file["path"], folder / "none.wav");
    for (const char *member :
         {"type", "encoding", "lossy", "rate", "channels", "format", "bits", "float", "frames", "seconds",
          "hdcd", "tags", "pictures", "chapters", "replaygain", "hash"})
        EXPECT_EQ(file.at(member), nullptr) << member;
}

TEST_F(Failures, ABrokenTagIsOnlyAWarning)
{
    WriteSound(folder / "a.mp3", Tone(SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III, 44100, 2, 44100, 440));
    const std::string tag = std::string("ID3\x04\0\0\0\0\0\x20", 10) + std::string(32, '\xEE');
    WriteText(folder / "b.mp3", tag + ReadText(folder / "a.mp3"));
    const Outcome outcome = RunHost({folder / "b.mp3", folder / "b.wav"});
    EXPECT_EQ(outcome.status, 0) << outcome.err;
    EXPECT_NE(outcome.err.find("warning: "), std::string::npos);
    EXPECT_EQ(ReadSound(folder / "b.wav").channels, 2);
}

} // namespace
} // namespace tonekit::host::test
