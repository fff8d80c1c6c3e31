#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tavosce
{

/// True if a byte string is UTF-8.
bool isUtf8(const std::string& text);

/// A text from a file as it may be shown: characters that cannot be seen (controls, marks of direction, separators of
/// lines) and bytes that are no UTF-8 as \n, \t or \xNN, a backslash doubled.
std::string shown(const std::string& text);

/// The same of a JSON text, whose backslashes are escapes already.
std::string shownJson(const std::string& json);

/// The same of the first thousand bytes, with "..." behind them if there are more.
std::string shownJsonStart(const std::string& json);

/// A JSON string with \uXXXX for such characters.
std::string escapedJson(const std::string& json);

/// The length of the longest beginning of a text that has no more than `most` bytes and splits no character.
std::size_t beginningOf(const std::string& text, std::size_t most);

/// What `shown` gives between double quotes, with a backslash in front of those in it.
std::string inQuotes(const std::string& text);

std::string base64(const std::string& bytes);

/// A file position: 0x and lower-case hexadecimal digits.
std::string hexadecimal(std::uint64_t value);

/// "1 record", "2 records".
std::string counted(std::uint64_t number, const std::string& noun);

/// A text behind as many blanks as make it `width` bytes long.
std::string padded(const std::string& text, std::size_t width);

/// A file name made of an object key. "/", characters that cannot be seen and bytes that are no UTF-8 become %XX, and
/// so does a "%" that could be taken for the beginning of such a mark, so that different keys have different names.
std::string fileNameOf(const std::string& objectKey);

/// A name that XML can hold: the name itself, or, if there is anything in it that XML cannot hold, with %XX for that in
/// the same way; "%00" for an empty one.
std::string xmlNameOf(const std::string& name);

/// A text as it stands between the quotes of an XML attribute.
std::string xmlText(const std::string& text);

/// The folder that a path is in, "." for one without a slash.
std::string folderOf(const std::string& path);

/// The last part of a path, and the same without its extension.
std::string nameOf(const std::string& path);
std::string stemOf(const std::string& path);

/// The extension of a path with its dot, in lower case.
std::string extensionOf(const std::string& path);

/// What the system says about the last failed operation; "failed" if it says nothing.
std::string systemReason();

} // namespace tavosce
