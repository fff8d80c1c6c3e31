#include "RecordAddress.h"

#include "Failure.h"
#include "Text.h"

#include "platform/Platform.h"

#include <charconv>
#include <system_error>

namespace tavosce
{

RecordAddress parseAddress(const std::string& text)
{
    const std::size_t colon = text.find_last_of(':');
    if (colon == std::string::npos || colon == 0 || Platform::filesystem().fileExists(OS::toWide(text)))
    {
        return {text, std::nullopt};
    }
    std::int64_t index = 0;
    const char* const end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data() + colon + 1, end, index);
    if (error != std::errc() || rest != end)
    {
        return {text, std::nullopt};
    }
    return {text.substr(0, colon), index};
}

std::size_t placeOf(const RecordAddress& address, std::size_t count)
{
    const auto records = static_cast<std::int64_t>(count);
    const std::int64_t index = address.index.value_or(0);
    if (index >= records || index < -records)
    {
        throw Failure(WrongUsage, shown(address.file),
                      "no record " + std::to_string(index) + ": the file has " + counted(count, "record"),
                      records == 0 ? ""
                                   : "the nearest is " + shown(address.file) + ':' +
                                         std::to_string(index < 0 ? 0 : records - 1) + "; `tavosce ls` lists them");
    }
    return static_cast<std::size_t>(index < 0 ? index + records : index);
}

std::size_t placeOrNewest(const RecordAddress& address, std::size_t count)
{
    return placeOf({address.file, address.index.value_or(-1)}, count);
}

std::string recordFolder(std::size_t record)
{
    const std::string number = std::to_string(record);
    return "record-" + std::string(number.size() < 4 ? 4 - number.size() : 0, '0') + number;
}

} // namespace tavosce
