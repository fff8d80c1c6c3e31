#include "core/Properties.h"

#include "core/Error.h"
#include "core/detail/PropertiesContent.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr Invariant TOO_DEEP{"Properties nested too deep", "depth < MAX_DEPTH", "base/src/core/Properties", 28};

const std::string NO_STRING;
const Properties NO_PROPERTIES;

bool fitsInt(std::int64_t number)
{
    return number == static_cast<int>(number);
}

} // namespace

Properties::Content::Content(const Content& other)
{
    order.reserve(other.order.size());
    for (const Values::value_type* entry : other.order)
    {
        order.push_back(&*values.insert(*entry).first);
    }
}

void Properties::Content::set(std::string key, Value value, bool overwrite)
{
    const auto existing = values.find(key);
    if (existing == values.end())
    {
        Values added; // apart from `values` until nothing can fail any more
        order.push_back(&*added.emplace(std::move(key), std::move(value)).first);
        values.merge(added);
    }
    else if (overwrite)
    {
        existing->second = std::move(value);
    }
}

const Properties::Content::Value* Properties::Content::find(const Properties& record, const std::string& key)
{
    if (!record._content)
    {
        return nullptr;
    }
    const auto found = record._content->values.find(key);
    return found == record._content->values.end() ? nullptr : &found->second;
}

int Properties::Content::depth(const Properties& record)
{
    int below = 0;
    if (record._content)
    {
        for (const auto& [key, value] : record._content->values)
        {
            if (const auto* inner = std::get_if<Properties>(&value))
            {
                below = std::max(below, depth(*inner)); // ends after MAX_DEPTH levels: nothing builds deeper records
            }
        }
    }
    return 1 + below;
}

Properties::Properties() = default;
Properties::Properties(Properties&& other) noexcept = default;
Properties& Properties::operator=(Properties&& other) noexcept = default;
Properties::~Properties() = default;

Properties::Properties(const Properties& other)
    : _content(other._content ? std::make_unique<Content>(*other._content) : nullptr)
{
}

Properties& Properties::operator=(const Properties& other)
{
    if (this != &other)
    {
        *this = Properties(other);
    }
    return *this;
}

Properties::Content& Properties::content()
{
    if (!_content)
    {
        _content = std::make_unique<Content>();
    }
    return *_content;
}

void Properties::set(const std::string& key, const std::string& value, int mode)
{
    content().set(key, value, mode == Overwrite);
}

void Properties::set(const std::string& key, const char* value, int mode)
{
    content().set(key, std::string(value ? value : ""), mode == Overwrite);
}

void Properties::set(const std::string& key, int value, int mode)
{
    content().set(key, std::int64_t{value}, mode == Overwrite);
}

void Properties::set(const std::string& key, long value, int mode)
{
    content().set(key, std::int64_t{value}, mode == Overwrite);
}

void Properties::set(const std::string& key, long long value, int mode)
{
    content().set(key, std::int64_t{value}, mode == Overwrite);
}

void Properties::set(const std::string& key, Properties value, int mode)
{
    if (Content::depth(value) == MAX_DEPTH)
    {
        raise(TOO_DEEP);
    }
    content().set(key, std::move(value), mode == Overwrite);
}

void Properties::set(const std::string& key, const std::map<std::string, int>& value, int mode)
{
    Properties record;
    for (const auto& [name, number] : value)
    {
        record.set(name, number);
    }
    content().set(key, std::move(record), mode == Overwrite);
}

void Properties::remove(const std::string& key)
{
    if (hasName(key))
    {
        auto& [values, order] = *_content;
        const auto found = values.find(key);
        order.erase(std::find(order.begin(), order.end(), &*found));
        values.erase(found);
    }
}

void Properties::rename(const std::string& from, const std::string& to)
{
    if (hasName(from) && !hasName(to))
    {
        std::string name = to;
        auto entry = _content->values.extract(from); // which stays where it is in memory
        entry.key() = std::move(name);
        _content->values.insert(std::move(entry));
    }
}

bool Properties::hasName(const std::string& key) const
{
    return Content::find(*this, key) != nullptr;
}

Properties::Kind Properties::kind(const std::string& key) const
{
    const Content::Value* value = Content::find(*this, key);
    constexpr Kind KINDS[] = {Kind::String, Kind::Integer, Kind::Record}; // in the order of Value's alternatives
    return value ? KINDS[value->index()] : Kind::None;
}

const std::string& Properties::getString(const std::string& key) const
{
    const auto* text = std::get_if<std::string>(Content::find(*this, key));
    return text ? *text : NO_STRING;
}

int Properties::getInt(const std::string& key) const
{
    const std::int64_t number = getLong(key);
    return fitsInt(number) ? static_cast<int>(number) : 0;
}

std::int64_t Properties::getLong(const std::string& key) const
{
    const auto* number = std::get_if<std::int64_t>(Content::find(*this, key));
    return number ? *number : 0;
}

const Properties& Properties::getProperties(const std::string& key) const
{
    const auto* record = std::get_if<Properties>(Content::find(*this, key));
    return record ? *record : NO_PROPERTIES;
}

void Properties::get(const std::string& key, std::map<std::string, int>& value) const
{
    value.clear();
    const Properties& record = getProperties(key);
    if (!record._content)
    {
        return;
    }
    for (const auto& [name, entry] : record._content->values)
    {
        const auto* number = std::get_if<std::int64_t>(&entry);
        if (number && fitsInt(*number))
        {
            value.emplace_hint(value.end(), name, static_cast<int>(*number));
        }
    }
}

std::vector<std::string> Properties::names() const
{
    std::vector<std::string> names;
    names.reserve(size());
    if (_content)
    {
        for (const Content::Values::value_type* entry : _content->order)
        {
            names.push_back(entry->first);
        }
    }
    return names;
}

std::size_t Properties::size() const
{
    return _content ? _content->order.size() : 0;
}

bool Properties::operator==(const Properties& other) const
{
    return empty() || other.empty() ? empty() == other.empty() : _content->values == other._content->values;
}
