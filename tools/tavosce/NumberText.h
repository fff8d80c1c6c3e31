#pragma once

#include <charconv>
#include <cmath>
#include <string>
#include <type_traits>

namespace tavosce
{

/// The shortest text that gives the number back; "nan" for what is no number, whatever its sign.
template <class T>
std::string numberText(T value)
{
    if constexpr (std::is_floating_point_v<T>)
    {
        if (std::isnan(value))
        {
            return "nan";
        }
    }
    char text[32]; // more than the shortest form of any number has
    return {text, std::to_chars(text, text + sizeof(text), value).ptr};
}

} // namespace tavosce
