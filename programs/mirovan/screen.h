/// Where the output goes: a terminal with a size and colours, or a file or pipe with neither.
#pragma once

#include "text.h"

#include <cstdio>
#include <string>
#include <vector>

namespace program
{

enum class Colour
{
    none,
    bold,
    dim,
    red,
    yellow,
    green,
    blue
};

/// A stream as it is at the start of the program.
class Screen
{
public:
    explicit Screen(std::FILE* stream);

    [[nodiscard]] bool is_terminal() const { return is_terminal_; }
    /// Columns now; a file or pipe has no limit.
    [[nodiscard]] std::size_t width() const;
    [[nodiscard]] std::size_t height() const;
    /// The text in the colour, or as it is where colours are not wanted.
    [[nodiscard]] std::string paint(Colour colour, std::string text) const;

private:
    int descriptor_;
    bool is_terminal_;
    bool has_colours_;
};

/// Writes text to standard output.
void put(const std::string& text);
/// Ends the output: the exit status, which is 1 when not all could be written.
int finish_output(int status);

/// Green, yellow or red by how full something is.
Colour colour_of(double ratio);

/// A column of a table.
struct Column
{
    std::string title;
    bool right = false;    ///< Aligned to the right.
    int importance = 10;   ///< In a narrow terminal the least important columns are left out.
    bool grows = false;    ///< Is shortened when the table is too wide,
    std::size_t least = 8; ///< to this many columns before others are left out.
};

/// Rows of harmless text under titles, laid out for a width.
class Table
{
public:
    explicit Table(std::vector<Column> column_list) : columns_{std::move(column_list)} {}

    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    /// The lines, the titles first, each ended by a newline.
    [[nodiscard]] std::string lines(const Screen& screen) const;

private:
    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_;
};

} // namespace program
