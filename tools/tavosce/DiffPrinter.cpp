#include "DiffPrinter.h"

#include "Text.h"

#include <ostream>

namespace tavosce
{

DiffPrinter::DiffPrinter(DiffForm form, bool several, std::ostream& out)
    : _form(form)
    , _several(several)
    , _out(out)
{
}

void DiffPrinter::beginAll(const std::string& first, const std::string& second)
{
    if (_form == DiffForm::Json)
    {
        _json = std::make_unique<Json>(_out);
        _json->member("a", first);
        _json->member("b", second);
        _json->beginArray("records");
    }
}

void DiffPrinter::beginPair(const RecordPair& pair)
{
    _pair = pair;
    if (_json)
    {
        _json->beginObject();
        writeIndex("a", pair.first);
        writeIndex("b", pair.second);
        _json->beginArray("differences");
    }
    else if (_form == DiffForm::Text && pair.isLonely())
    {
        printPrefix();
        _out << (pair.first ? "only in the first\n" : "only in the second\n");
    }
}

void DiffPrinter::add(const Difference& difference)
{
    if (_json)
    {
        writeDifference(*_json, difference);
    }
    else if (_form == DiffForm::Text)
    {
        printPrefix();
        printDifference(_out, difference);
    }
}

void DiffPrinter::endPair(bool complete)
{
    if (_json)
    {
        _json->endArray();
        _json->member("complete", complete);
        _json->endObject();
    }
}

void DiffPrinter::endAll(const DiffTotals& totals, std::size_t pairs)
{
    if (_json)
    {
        _json->endArray();
        _json->member("equal", totals.differing == 0 && totals.complete);
        _json->finish();
    }
    if (_form != DiffForm::Text)
    {
        return;
    }
    _out << counted(pairs, "record") << " compared: ";
    if (totals.differing == 0)
    {
        _out << "no differences";
    }
    else
    {
        _out << totals.differing << (totals.differing == 1 ? " differs, " : " differ, ")
             << counted(totals.differences, "difference");
    }
    _out << (totals.complete ? "\n" : "; not all could be compared\n");
}

void DiffPrinter::printPrefix()
{
    if (_several)
    {
        _out << "record " << _pair.first.value_or(_pair.second.value_or(0)) << ": ";
    }
}

void DiffPrinter::writeIndex(const char* key, const std::optional<std::size_t>& index)
{
    index ? _json->member(key, static_cast<std::uint64_t>(*index)) : _json->nullMember(key);
}

} // namespace tavosce
