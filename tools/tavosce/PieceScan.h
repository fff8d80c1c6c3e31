#pragma once

#include "core/Properties.h"

#include <cstdint>
#include <iosfwd>
#include <string>
#include <vector>

namespace tavosce
{

/// One piece of the top level of a scene database.
struct FilePiece
{
    enum Kind
    {
        FileHeader, ///< the tag and the line end behind it
        Record,     ///< header to the end of its last payload; with a fault to the end that its tag says, at most.
                    ///< Readers may take one without a fault for unfinished, where its positions are damaged
        Thumbnail,  ///< tag and pixels, as its tag says; cut at the end of the file
        Unfinished, ///< a record or thumbnail that was never finished, up to the next piece
        UnknownTag, ///< a tag with a "DataField" of no known kind, which readers pass over
        StrayTag,   ///< a tag that is neither an item nor the file header; readers go no further
        Unreadable  ///< anything else, up to the next piece
    };

    Kind kind = Unreadable;
    std::uint64_t begin = 0;
    std::uint64_t end = 0;           ///< first byte of the next piece, or the size of the file
    Properties tag;                  ///< empty for Unreadable
    bool reached = true;             ///< whether the library's own walk over the file gets here
    std::uint64_t tagEnd = 0;        ///< first byte behind the tag; `begin` where there is none
    std::string fault = {};          ///< empty for a Record whose tags lead to its end and for a Thumbnail that has its
                                     ///< pixels behind its tag; otherwise why it is not like that
    std::uint64_t faultPosition = 0; ///< of a Record with a fault: where that is
};

/// True if a piece that is Unfinished was complete once: its tag is whole, but no writer leaves such positions there.
bool wasFinished(const FilePiece& piece);

/// Takes a whole file apart. The pieces tile it: they are in order, and each begins where the one before it ends.
/// Unlike the library's walk this does not end at damage, but goes on at the next record header or thumbnail tag that
/// stands where it says that it stands; and a record whose tags do not lead to its end is not believed about where that
/// is, if such an item lies before it. A record whose tags lead to another item, or to the end of the file, ends there
/// whatever its header says. Position and state of the stream afterwards are unspecified.
std::vector<FilePiece> scanPieces(std::istream& in, std::uint64_t fileSize);

} // namespace tavosce
