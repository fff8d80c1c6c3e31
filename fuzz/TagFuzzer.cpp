// Property tags: finding the end of one, and its text to a record and back.

#include "FuzzTarget.h"
#include "MemoryWatch.h"

#include "scenegraph/io/SDB.h"

namespace
{

/// Asks a record for everything in every form.
void ask(const Properties& record)
{
    for (const std::string& name : record.names())
    {
        (void)record.getString(name);
        (void)record.getInt(name);
        (void)record.getLong(name);
        (void)sdb::hexFromProp(record, name);
        std::map<std::string, int> map;
        record.get(name, map);
        ask(record.getProperties(name));
    }
}

void checkText(const std::string& text)
{
    const Properties record(text);
    ask(record);
    const std::string rendered = record.toString();
    const Properties again(rendered);
    fuzz::require(again == record && again.toString() == rendered, "a record is what its text says");
    fuzz::require(rendered.find_first_of("\r\n") == std::string::npos, "a tag is one line");
    std::istringstream in(rendered);
    std::string found;
    fuzz::require(sdb::internal::getNextPropertyTag(in, found) && found == rendered,
                  "a tag ends where it is rendered to");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    fuzz::beQuiet();
    const std::string bytes = fuzz::asString(data, size);
    const fuzz::MemoryWatch watch(size);
    checkText(bytes);
    std::istringstream in(bytes);
    std::string text;
    while (sdb::internal::getNextPropertyTag(in, text))
    {
        fuzz::require(text.front() == '{' && text.back() == '}', "a tag lies between braces");
        checkText(text);
    }
    return 0;
}
