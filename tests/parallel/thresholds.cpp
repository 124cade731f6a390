#include "parallel/thresholds.h"

#include <algorithm>
#include <set>
#include <sstream>

namespace tarnm::test {
namespace {

std::vector<const ThresholdRow*>& allRows()
{
    static std::vector<const ThresholdRow*> rows;
    return rows;
}

std::vector<std::string> words(std::string_view text)
{
    std::istringstream in{std::string(text)};
    std::vector<std::string> found;
    for (std::string word; in >> word;)
        found.push_back(word);
    return found;
}

bool contains(const std::vector<std::string>& list, std::string_view word)
{
    return std::ranges::find(list, word) != list.end();
}

} // namespace

ThresholdRow::ThresholdRow(std::string_view operation, std::string_view codes, std::string_view layouts,
                           std::string_view types, Measure measure, std::int64_t dense, std::int64_t other,
                           int smallest)
    : operation(operation)
    , codes(words(codes))
    , layouts(words(layouts))
    , types(words(types))
    , measure(measure)
    , dense(dense)
    , other(other)
    , smallest(smallest)
{
    allRows().push_back(this);
}

bool ThresholdRow::covers(const Member& member) const
{
    return operation == member.operation && contains(codes, member.code) && contains(layouts, member.layout) &&
           contains(types, member.type == Type::f32 ? "32f" : "64f") && !isAlwaysSerial(member);
}

std::vector<const ThresholdRow*> thresholdsOf(const Member& member)
{
    std::vector<const ThresholdRow*> found;
    for (const ThresholdRow* row : allRows())
        if (row->covers(member)) found.push_back(row);
    return found;
}

bool isAlwaysSerial(const Member& member)
{
    // These two measure the work like their siblings and then do not fork.
    if (member.name == "tarnmSub_vva_64f_P" || member.name == "tarnmCrossProduct_vva_64f_P") return true;
    static const std::set<std::string_view> operations = {
        "Copy", "Extract", "LoadIdentity", "Transpose", "EigenValuesVectorsLeft", "EigenValuesVectorsRight"};
    return operations.contains(member.operation) || member.code.find_first_of("234") != member.code.npos;
}

} // namespace tarnm::test
