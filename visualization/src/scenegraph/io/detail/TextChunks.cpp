#include "scenegraph/io/detail/TextChunks.h"

#include <ostream>

namespace tsg::detail
{

TextChunks::TextChunks(std::ostream& out)
    : _out(out)
    , _chunk(new char[CHUNK_BYTES])
    , _at(_chunk.get())
{
}

void TextChunks::finish()
{
    _out.write(_chunk.get(), _at - _chunk.get());
    _at = _chunk.get();
}

} // namespace tsg::detail
