// screen.h: a terminal in memory, as slow and plain as can be.
#pragma once

#include <string>
#include <vector>

namespace tonekit::host::test {

// Knows the control characters CR and LF, and the sequences that clear to the end of the line (K) and of the
// screen (J), move up (A) and switch the breaking of lines (?7l, ?7h). Anything else ends up in `unknown`.
// Lines never scroll out.
class Screen {
public:
    // Terminals differ in what they do with lines when they are made narrower: break them anew, or cut them.
    enum class Resizing { Breaks, Cuts };

    Screen(size_t columns, Resizing resizing = Resizing::Breaks) : columns_(columns), resizing_(resizing) {}

    void Feed(const std::string &text);
    void Resize(size_t columns);
    // The rows, without blanks at the end of a text, and without empty ones at the end. A text that was
    // broken into several rows has its blanks, wherever it was broken.
    std::vector<std::string> Rows() const;
    // The largest number of columns that was ever in use.
    size_t widest() const { return widest_; }

    std::string unknown;

private:
    struct Row {
        std::vector<std::string> cells; // a wide character is followed by an empty one
        bool continues = false;         // in the next row
    };

    void Put(const std::string &character);
    void Obey(const std::string &sequence);
    Row &CursorRow();

    size_t columns_;
    Resizing resizing_;
    std::vector<Row> rows_ = std::vector<Row>(1);
    size_t y_ = 0;
    size_t x_ = 0; // columns_ after the last column was filled
    bool breaks_ = true;
    size_t widest_ = 0;
};

} // namespace tonekit::host::test
