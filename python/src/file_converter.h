// file_converter.h: converts one file after another, while another thread puts the finished ones in place.
#pragma once

#include "host/command_line/options.h"
#include "host/file_conversion.h"
#include "host/processing/side_thread.h"
#include "host/tags/extras.h"
#include "python/src/option_list.h"

#include <memory>
#include <nanobind/nanobind.h>
#include <string>

namespace tonekit::python {

// One thread at a time calls it.
class FileConverter {
public:
    explicit FileConverter(const OptionList &list);
    ~FileConverter();

    // Converts a file as far as a complete result under a temporary name, and returns the columns of its row.
    nanobind::dict Convert(const std::string &source, const std::string &target);
    // The path of that result until Place is called.
    std::string Completed() const;
    // Begins to put the result of the last conversion in place; the one before it has to be there.
    void Place();
    // Waits until it is there; returns the seconds that it took. Throws host::Failure.
    double Placed();

private:
    // What a conversion refers to exists as long as its result.
    struct Result {
        host::Options options;
        host::Job job;
        std::unique_ptr<host::PendingFile> file;
    };

    void RequireResult() const;
    void PlaceResults();
    void Commit(std::unique_ptr<Result> result);

    const host::Options options_;
    const host::Extras extras_;
    std::unique_ptr<Result> converted_;
    std::unique_ptr<Result>
        placing_; // until the other thread takes it; this and what follows under its mutex
    bool placed_ = true;
    double seconds_ = 0;
    std::string error_; // empty: the result is in place
    host::SideThread placer_;
};

void BindFileConverter(nanobind::module_ &module);

} // namespace tonekit::python
