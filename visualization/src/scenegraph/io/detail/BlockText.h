#pragma once

#include <cstdint>
#include <initializer_list>
#include <iosfwd>
#include <string>
#include <string_view>

class vtkWriter;

/// The words and lines of dataset blocks and legacy files. They are made without any locale and written as bytes, so
/// that locale and format flags of the caller's stream do not matter.
namespace tsg::detail
{

/// The first of the texts that is neither null nor empty; an empty text if none is.
const char* firstNonEmpty(std::initializer_list<const char*> texts);

/// An encoded name cut to MAX_NAME_BYTES, and before an escape that would not fit.
std::string cutToToken(std::string name);

/// An array name as one token of a block: bytes below 33 or above 126, quotes and percent signs as "%" and two
/// hexadecimal digits, cut by cutToToken. A null name is empty. `writer` does
/// the encoding.
std::string encodedName(vtkWriter& writer, const char* name);

/// Text that comes out of fillTemplate as it is.
std::string escapedForTemplate(std::string_view text);

/// A header line from its template: "%s" becomes the type word, "%%" a percent sign.
std::string fillTemplate(std::string_view lineTemplate, std::string_view typeWord);

/// The first lines of a block or file: identification, title, which may be null, and file type.
std::string headerText(const char* title, int fileType);

/// The template of the header line of a field array of `tuples` tuples.
std::string fieldArrayTemplate(const std::string& name, int components, std::int64_t tuples);

/// The template of the header lines, behind the keyword, of scalars whose colours are in the table of that name.
std::string scalarsTemplate(const std::string& name, int components, const std::string& table);

void writeText(std::ostream& out, std::string_view text);

} // namespace tsg::detail
