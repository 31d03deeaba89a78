// measured_rows.cpp: the rows of benchmarks as lines of JSON.
#include "tests/support/measured_rows.h"

#include <cmath>
#include <cpuid.h>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace tonekit {

namespace {

struct Leaf {
    uint32_t eax, ebx, ecx, edx;
};

Leaf ReadLeaf(uint32_t number)
{
    Leaf leaf = {};
    __get_cpuid(number, &leaf.eax, &leaf.ebx, &leaf.ecx, &leaf.edx);
    return leaf;
}

void Erase(std::string &text, const std::string &part)
{
    for (size_t at; (at = text.find(part)) != std::string::npos;)
        text.erase(at, part.size());
}

std::string Make()
{
    const Leaf leaf = ReadLeaf(0);
    char name[12];
    std::memcpy(name, &leaf.ebx, 4);
    std::memcpy(name + 4, &leaf.edx, 4);
    std::memcpy(name + 8, &leaf.ecx, 4);
    return {name, sizeof name};
}

// The 48 bytes of the brand, without trade marks and superfluous blanks.
std::string Brand()
{
    char bytes[49] = {};
    for (uint32_t part = 0; part < 3; ++part) {
        const Leaf leaf = ReadLeaf(0x80000002 + part);
        std::memcpy(bytes + 16 * part, &leaf, 16);
    }
    std::string brand = bytes;
    Erase(brand, "(R)");
    Erase(brand, "(TM)");
    for (size_t at; (at = brand.find("  ")) != std::string::npos;)
        brand.erase(at, 1);
    brand.erase(0, brand.find_first_not_of(' '));
    brand.erase(brand.find_last_not_of(' ') + 1);
    return brand;
}

std::string Quoted(const std::string &text)
{
    std::string quoted = "\"";
    for (const char character : text) {
        if (character == '"' || character == '\\')
            quoted += '\\';
        quoted += character;
    }
    return quoted + '"';
}

} // namespace

std::string ProcessorName()
{
    const uint32_t signature = ReadLeaf(1).eax;
    uint32_t family = signature >> 8 & 15;
    uint32_t model = signature >> 4 & 15;
    if (family == 6 || family == 15)
        model += signature >> 12 & 0xF0;
    if (family == 15)
        family += signature >> 20 & 0xFF;
    return Make() + " " + Brand() + " family " + std::to_string(family) + " model " + std::to_string(model);
}

void AppendRow(const std::string &file, const MeasuredRow &row)
{
    if (file.empty())
        return;
    if (!std::isfinite(row.ours) || !std::isfinite(row.beside) || !std::isfinite(row.ratio))
        throw std::domain_error(row.table + ", " + row.name + ": not measured");
    std::FILE *stream = std::fopen(file.c_str(), "a");
    const bool written =
        stream &&
        std::fprintf(stream,
                     "{\"processor\":%s,\"table\":%s,\"row\":%s,\"ours\":%.9g,\"beside\":%.9g,\"ratio\":%.4f,"
                     "\"limit\":%g}\n",
                     Quoted(ProcessorName()).c_str(), Quoted(row.table).c_str(), Quoted(row.name).c_str(),
                     row.ours, row.beside, row.ratio, row.limit) > 0;
    if ((stream && std::fclose(stream) != 0) || !written)
        throw std::runtime_error("can't write to " + file);
}

} // namespace tonekit
