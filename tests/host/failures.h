// failures.h: what holds of every run of the program that fails.
#pragma once

#include "tests/host/audio_files.h"
#include "tests/host/run_program.h"
#include "tests/host/temporary_folder.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>

namespace tonekit::host::test {

inline constexpr int kWav16 = SF_FORMAT_WAV | SF_FORMAT_PCM_16;

class Failures : public testing::Test {
protected:
    void SetUp() override
    {
        WriteSound(folder / "good.wav", Noise(kWav16, 44100, 2, 50000));
        WriteText(folder / "old.wav", "precious");
    }

    // The run fails with this status and one line that contains `what`, and no file came, went or changed.
    void ExpectFailure(int status, const std::string &what, const std::vector<std::string> &arguments)
    {
        ExpectFailureOf([&] { return RunHost(arguments); }, status, what);
    }

    void ExpectFailureOf(const std::function<Outcome()> &run, int status, const std::string &what)
    {
        const std::vector<std::string> names = folder.Names();
        const Outcome outcome = run();
        EXPECT_EQ(outcome.status, status) << outcome.err;
        EXPECT_NE(outcome.err.find(what), std::string::npos) << outcome.err;
        const std::string own = OwnLines(outcome.err);
        EXPECT_EQ(std::count(own.begin(), own.end(), '\n'), 1) << own;
        EXPECT_EQ(own.substr(0, 17), "tonekit-convert: ");
        EXPECT_EQ(folder.Names(), names);
        EXPECT_EQ(ReadText(folder / "old.wav"), "precious");
    }

    void ExpectBadInput(const std::string &what, const std::string &input)
    {
        ExpectFailure(1, what, {input, folder / "old.wav"});
        ExpectFailure(1, what, {"--info", input});
    }

    TemporaryFolder folder;
};

} // namespace tonekit::host::test
