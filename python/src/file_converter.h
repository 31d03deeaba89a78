// file_converter.h: converts one file after another, while another thread puts the finished ones in place.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/processing/side_thread.h"
#include "host/tags/extras.h"
#include "python/src/option_list.h"

#include <exception>
#include <memory>
#include <nanobind/nanobind.h>
#include <string>
#include <utility>
#include <vector>

namespace tonekit::python {

// One thread at a time calls it.
class FileConverter {
public:
    explicit FileConverter(const OptionList &list);
    ~FileConverter();

    // Converts a file as far as a complete result under a temporary name, and returns the columns of its row.
    nanobind::dict Convert(const std::string &source, const std::string &target);
    // The path of that result until Keep is called.
    std::string Completed() const;
    // Keeps the result of the last conversion, to be placed with others.
    void Keep();
    // Begins to put all results that are kept in their places. Those before have to be there.
    void Place();
    // Waits until they are there. Returns the seconds that each took, and why it isn't there: empty if it is.
    std::vector<std::pair<double, std::string>> Placed();

private:
    // What a conversion refers to exists as long as its result.
    struct Result {
        host::Options options;
        host::Job job;
        std::unique_ptr<host::PendingFile> file; // until it is placed
        std::exception_ptr failure = {};
    };

    using Results = std::vector<std::unique_ptr<Result>>;

    void RequireResult() const;
    void PlaceResults();
    void Commit(Results results);
    static void Try(Result &result, void (*step)(host::PendingFile &)) noexcept;

    const host::Options options_;
    const host::Extras extras_;
    std::unique_ptr<Result> converted_;
    Results kept_;
    Results placing_; // until the other thread takes them; this and what follows under its mutex
    bool isPlaced_ = true;
    Results placed_;
    double seconds_ = 0; // that each of them took
    host::SideThread placer_;
};

void BindFileConverter(nanobind::module_ &module);

} // namespace tonekit::python
