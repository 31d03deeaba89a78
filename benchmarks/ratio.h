// ratio.h: measures pairs of actions against each other within one run and prints the ratios as a table.
//
// A machine that does other work too gives no two equal seconds, so a time says nothing; each row takes turns
// between our action and its peer and reports the median of the ratios of neighbouring turns.
#pragma once

#include "frame/dispatch.h"
#include "frame/platform.h"
#include "tests/support/measured_rows.h"
#include "tests/support/turns.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <functional>
#include <string>
#include <sys/resource.h>
#include <time.h>
#include <vector>

namespace tonekit {

class RatioTable {
public:
    using Action = std::function<void()>;

    explicit RatioTable(std::string title) : title_(std::move(title)) {}

    // Limit is the least speed of ours as a part of the peer's; 0 for none.
    void Add(std::string name, double limit, Action ours, Action peer)
    {
        rows_.push_back({std::move(name), limit, std::move(ours), std::move(peer)});
    }

    // Options: --filter TEXT, --quick, --once (each action one time, and no limits: to see whether all of
    // them run), --json FILE (appends a line a row). Plain names run the highest bodies that the processor
    // has the features of, whoever made it; with --another-make they run the baseline, as the selection has
    // it on all makes but one. Limits are for the former. Returns 0 if every row that has a limit keeps it,
    // and 1 if not. Other options, and rows that can't be written, end the program with 2.
    int Run(int argc, char **argv)
    {
        const Options options = Read(argc, argv);
        json_ = options.json;
        SelectBodies(options.anotherMake ? uint64_t{1} << Feature_Filled : EnumerateFeatures(AskProcessor()));
        if (options.anotherMake)
            TakeAsAnotherMake();
        std::printf("\n%s, on %s\n%-44s %12s %12s %8s %7s\n", title_.c_str(), ProcessorName().c_str(), "",
                    "ours", "beside", "ratio", "limit");
        int result = 0;
        for (const Row &row : rows_)
            if (row.name.find(options.filter) != std::string::npos && !Report(row, options.turns))
                result = 1;
        return result;
    }

    // Whether --another-make is among the options.
    static bool AsAnotherMake(int argc, char **argv)
    {
        return std::any_of(argv, argv + argc,
                           [](const char *option) { return std::strcmp(option, "--another-make") == 0; });
    }

private:
    struct Options {
        const char *filter = "";
        const char *json = "";
        int turns = 41;
        bool anotherMake = false;
    };

    static Options Read(int argc, char **argv)
    {
        Options options;
        for (int i = 1; i < argc; ++i) {
            if (std::strcmp(argv[i], "--filter") == 0 && i + 1 < argc)
                options.filter = argv[++i];
            else if (std::strcmp(argv[i], "--json") == 0 && i + 1 < argc)
                options.json = argv[++i];
            else if (std::strcmp(argv[i], "--quick") == 0)
                options.turns = 9;
            else if (std::strcmp(argv[i], "--once") == 0)
                options.turns = 1;
            else if (std::strcmp(argv[i], "--another-make") == 0)
                options.anotherMake = true;
            else {
                std::fprintf(stderr,
                             "usage: %s [--filter TEXT] [--quick | --once] [--json FILE] [--another-make]\n",
                             argv[0]);
                std::exit(2);
            }
        }
        return options;
    }

    struct Row {
        std::string name;
        double limit;
        Action ours;
        Action peer;
    };

    void TakeAsAnotherMake()
    {
        title_ += ", as another make sees it";
        for (Row &row : rows_)
            row.limit = 0;
    }

    static double SecondsOf(const timeval &time)
    {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    }

    // Processor time of this process and of the programs that it has run: what others do meanwhile doesn't
    // count.
    static double Now()
    {
        timespec own;
        clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &own);
        rusage children;
        getrusage(RUSAGE_CHILDREN, &children);
        return static_cast<double>(own.tv_sec) + 1e-9 * static_cast<double>(own.tv_nsec) +
               SecondsOf(children.ru_utime) + SecondsOf(children.ru_stime);
    }

    static double Seconds(const Action &action, unsigned times)
    {
        const double begin = Now();
        for (unsigned i = 0; i < times; ++i)
            action();
        return Now() - begin;
    }

    static unsigned TimesOf(const Action &action)
    {
        return TimesPerTurn([&action](unsigned times) { return Seconds(action, times); });
    }

    bool Report(const Row &row, int turns) const
    {
        const bool once = turns == 1;
        const unsigned oursTimes = once ? 1 : TimesOf(row.ours);
        const unsigned peerTimes = once ? 1 : TimesOf(row.peer);
        std::vector<double> ours;
        std::vector<double> peer;
        std::vector<double> ratios;
        for (int turn = 0; turn < turns; ++turn) {
            ours.push_back(Seconds(row.ours, oursTimes) / oursTimes);
            peer.push_back(Seconds(row.peer, peerTimes) / peerTimes);
            ratios.push_back(peer.back() / ours.back());
        }
        const double ratio = Median(ratios);
        const bool kept = once || row.limit == 0 || ratio >= row.limit;
        std::printf("%-44s %9.3f us %9.3f us %8.2f", row.name.c_str(), Median(ours) * 1e6, Median(peer) * 1e6,
                    ratio);
        if (row.limit != 0 && !once)
            std::printf(" %7.2f %s", row.limit, kept ? "ok" : "short");
        std::printf("\n");
        std::fflush(stdout);
        Append({title_, row.name, Median(ours), Median(peer), ratio, row.limit});
        return kept;
    }

    void Append(const MeasuredRow &row) const
    {
        try {
            AppendRow(json_, row);
        } catch (const std::exception &error) {
            std::fprintf(stderr, "%s\n", error.what());
            std::exit(2);
        }
    }

    std::string title_;
    std::string json_;
    std::vector<Row> rows_;
};

} // namespace tonekit
