#pragma once

#include <locale>
#include <string>

namespace test
{

/// Punctuation that would read "1.5" as fifteen.
struct ForeignNumbers : std::numpunct<char>
{
    char do_decimal_point() const override { return ','; }

    char do_thousands_sep() const override { return '.'; }

    std::string do_grouping() const override { return "\1"; }

    static std::locale locale() { return {std::locale::classic(), new ForeignNumbers}; }
};

} // namespace test
