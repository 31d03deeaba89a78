// screen.cpp: a terminal in memory.
#include "tests/host/screen.h"

#include <algorithm>
#include <cstddef>
#include <cstdlib>

namespace tonekit::host::test {

namespace {

size_t Width(const std::string &character)
{
    const auto lead = static_cast<unsigned char>(character[0]);
    if (lead == 0xCC || (lead == 0xCD && static_cast<unsigned char>(character[1]) < 0xB0))
        return 0;                // U+0300 to U+036F
    return lead >= 0xE3 ? 2 : 1; // all from U+3000 on; tests use no others that are wide
}

} // namespace

Screen::Row &Screen::CursorRow()
{
    rows_.resize(std::max(rows_.size(), y_ + 1));
    return rows_[y_];
}

void Screen::Put(const std::string &character)
{
    const size_t width = Width(character);
    if (width == 0) {
        Row &row = CursorRow();
        if (x_ > 0 && x_ <= row.cells.size())
            row.cells[x_ - 1] += character;
        return;
    }
    if (x_ + width > columns_) {
        if (!breaks_) {
            x_ = columns_ - width;
        } else {
            CursorRow().continues = true;
            ++y_;
            x_ = 0;
        }
    }
    Row &row = CursorRow();
    row.cells.resize(std::max(row.cells.size(), x_ + width), " ");
    row.cells[x_] = character;
    if (width == 2)
        row.cells[x_ + 1] = "";
    x_ += width;
    widest_ = std::max(widest_, x_);
}

void Screen::Obey(const std::string &sequence)
{
    const char end = sequence.back();
    const std::string value = sequence.substr(0, sequence.size() - 1);
    Row &row = CursorRow();
    if (end == 'K' && value.empty()) {
        row.cells.resize(std::min(row.cells.size(), x_));
        row.continues = false;
    } else if (end == 'J' && value.empty()) {
        row.cells.resize(std::min(row.cells.size(), x_));
        row.continues = false;
        rows_.resize(y_ + 1);
    } else if (end == 'A') {
        y_ -= std::min<size_t>(y_, value.empty() ? 1 : std::strtoul(value.c_str(), nullptr, 10));
    } else if (sequence == "?7l" || sequence == "?7h") {
        breaks_ = end == 'h';
    } else {
        unknown += "[" + sequence;
    }
}

void Screen::Feed(const std::string &text)
{
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        if (text.compare(i, 2, "\x1b[") == 0) {
            const size_t end = text.find_first_of("ABCDEFGHJKSTfhlmnsu", i + 2);
            Obey(text.substr(i + 2, end - i - 1));
            i = end + 1;
        } else if (lead == '\r') {
            x_ = 0;
            ++i;
        } else if (lead == '\n') {
            ++y_;
            CursorRow();
            ++i;
        } else {
            const size_t bytes = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
            Put(text.substr(i, bytes));
            i += bytes;
        }
    }
}

void Screen::Resize(size_t columns)
{
    columns_ = columns;
    x_ = std::min(x_, columns);
    if (resizing_ == Resizing::Cuts) {
        for (Row &row : rows_)
            row.cells.resize(std::min(row.cells.size(), columns));
        return;
    }
    // The cursor stays where it is in its text.
    std::vector<Row> broken;
    size_t cursorRow = 0;
    for (size_t y = 0; y < rows_.size(); ++y) {
        std::vector<std::string> text = rows_[y].cells;
        size_t before = y == y_ ? 0 : SIZE_MAX;
        while (rows_[y].continues && y + 1 < rows_.size()) {
            if (++y == y_)
                before = text.size();
            text.insert(text.end(), rows_[y].cells.begin(), rows_[y].cells.end());
        }
        for (size_t start = 0; start == 0 || start < text.size(); start += columns) {
            if (before != SIZE_MAX && before + x_ >= start && (before + x_ < start + columns || text.empty()))
                cursorRow = broken.size();
            Row row;
            row.cells.assign(text.begin() + static_cast<ptrdiff_t>(start),
                             text.begin() + static_cast<ptrdiff_t>(std::min(start + columns, text.size())));
            row.continues = start + columns < text.size();
            broken.push_back(row);
        }
    }
    rows_ = broken;
    y_ = cursorRow;
}

std::vector<std::string> Screen::Rows() const
{
    std::vector<std::string> texts;
    for (const Row &row : rows_) {
        std::string text;
        for (const std::string &cell : row.cells)
            text += cell;
        if (!row.continues)
            text.resize(text.find_last_not_of(' ') + 1);
        texts.push_back(text);
    }
    while (!texts.empty() && texts.back().empty())
        texts.pop_back();
    return texts;
}

} // namespace tonekit::host::test
