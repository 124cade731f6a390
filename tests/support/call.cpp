#include "support/call.h"

#include <algorithm>
#include <sstream>
#include <stdexcept>

namespace tarnm::test {
namespace {

// An order of 0 .. count - 1 that jumps about.
std::vector<int> scatteredOrder(int count)
{
    std::vector<int> order(count);
    for (int i = 0; i < count; ++i)
        order[i] = i % 2 == 0 ? i / 2 : count - 1 - i / 2;
    std::reverse(order.begin(), order.end());
    return order;
}

} // namespace

int elementSizeOf(const Member& member) { return member.type == Type::f32 ? 4 : 8; }

bool suits(const Operand& operand, Style style)
{
    const bool onlySources = style == Style::overlapped || style == Style::repeated;
    if (onlySources && operand.direction != Direction::in) return false;
    if (operand.layout == 'P' && operand.letter != 'c') return style >= Style::planes;
    if (operand.layout == 'F') return style < Style::strided;
    return style < Style::planes || (style == Style::repeated && operand.layout == 'L');
}

std::string Setup::text() const
{
    std::ostringstream out;
    for (const auto& [name, size] : sizes)
        out << name << ' ' << size << ", ";
    out << "count " << count << ", styles";
    for (const Style style : styles)
        out << " [" << nameOf(style) << ']';
    out << ", against the " << (against == Against::start ? "first" : "last") << " page, " << offset << " bytes off";
    return out.str();
}

Call::Call(const Member& member, const Setup& setup)
    : called(member)
    , chosen(setup)
{
    chosen.styles.resize(member.operands().size(), Style::packed);
    places.resize(member.operands().size());
    for (int i = 0; i < int(places.size()); ++i)
        place(i);
    for (const Argument& argument : member.arguments())
        values.push_back(argumentValue(argument));
}

int Call::operandIndex(std::string_view name) const
{
    const auto operands = called.operands();
    for (int i = 0; i < int(operands.size()); ++i)
        if (operands[i].name == name) return i;
    throw std::invalid_argument(std::string(called.name) + " has no operand " + std::string(name));
}

bool Call::hasOperand(std::string_view name) const
{
    return std::ranges::any_of(called.operands(), [&](const Operand& operand) { return operand.name == name; });
}

int Call::argumentIndex(std::string_view name) const
{
    const auto arguments = called.arguments();
    for (int i = 0; i < int(arguments.size()); ++i)
        if (arguments[i].name == name) return i;
    throw std::invalid_argument(std::string(called.name) + " has no argument " + std::string(name));
}

std::byte* Call::address(int operand, int n, int r, int c) const
{
    const Place& place = places[operand];
    if (place.block < 0) throw std::invalid_argument("an argument passed by value has no address");
    const std::int64_t object = place.objects > 1 ? n : 0;
    if (!place.elementBases.empty())
        return place.elementBases[std::size_t(r) * place.columns + c] + object * place.strides.object;
    const std::int64_t inside = r * place.strides.row + c * place.strides.element;
    if (!place.objectBases.empty()) return place.objectBases[object] + inside;
    return place.base + object * place.strides.object + inside;
}

bool Call::isDense() const
{
    for (int i = 0; i < int(values.size()); ++i)
        if (called.arguments()[i].kind == Kind::elementStride && values[i].integer != elementSizeOf(called))
            return false;
    return true;
}

void Call::remember()
{
    for (GuardedBlock& block : blocks)
        block.remember();
}

void Call::accept(int operand, int n, int r, int c)
{
    const Place& place = places[operand];
    blocks[place.block].accept(address(operand, n, r, c), std::size_t(place.elementBytes));
}

void Call::acceptScratch()
{
    for (int i = 0; i < int(places.size()); ++i)
        if (called.operands()[i].direction == Direction::scratch) {
            GuardedBlock& block = blocks[places[i].block];
            block.accept(block.begin(), block.size());
        }
}

std::string Call::difference() const
{
    for (int i = 0; i < int(places.size()); ++i) {
        const Place& place = places[i];
        if (place.block < 0) continue;
        const std::string name(called.operands()[i].name);
        if (place.tableBlock >= 0 && blocks[place.tableBlock].firstDifference() != nullptr)
            return "the table of " + name + " was written";
        const std::byte* at = blocks[place.block].firstDifference();
        if (at == nullptr) continue;
        for (int n = 0; n < place.objects; ++n)
            for (int r = 0; r < place.rows; ++r)
                for (int c = 0; c < place.columns; ++c) {
                    const std::byte* element = address(i, n, r, c);
                    if (at >= element && at < element + place.elementBytes)
                        return name + " was written at object " + std::to_string(n) + ", row " + std::to_string(r) +
                               ", column " + std::to_string(c);
                }
        return name + " was written outside its elements, " + std::to_string(at - blocks[place.block].begin()) +
               " bytes from the start of " + std::to_string(blocks[place.block].size());
    }
    return {};
}

int Call::addBlock(std::int64_t bytes, int offset)
{
    blocks.emplace_back(std::size_t(bytes), chosen.against, std::size_t(offset));
    return int(blocks.size()) - 1;
}

void Call::place(int index)
{
    const Operand& operand = called.operands()[index];
    Place& place = places[index];
    const int elementSize = elementSizeOf(called);
    place.rows = int(evaluateExtent(operand.rows, chosen.sizes, elementSize));
    place.columns = int(evaluateExtent(operand.columns, chosen.sizes, elementSize));
    place.objects = operand.isArray ? chosen.count : 1;
    place.elementBytes = operand.letter == 'i' ? 4 : operand.letter == 'b' ? 1 : elementSize;
    if (operand.letter == 'c' && !operand.isArray) return;
    if (operand.letter == 'b') return placeScratch(place, std::int64_t(place.rows) * place.columns);

    const Style style = chosen.styles[index];
    if (operand.layout == 'L' && operand.isArray) return placeList(place, style);
    if (operand.layout == 'P' && operand.letter != 'c') return placeTable(place, style);
    placeStrided(place, operand.letter == 's' || operand.letter == 'i' ? Style::packed : style);
}

void Call::placeScratch(Place& place, std::int64_t bytes)
{
    place.objects = 1;
    place.block = addBlock(bytes, chosen.offset);
    place.base = blocks[place.block].begin();
}

void Call::placeStrided(Place& place, Style style)
{
    place.strides = stridesOf(style, place.rows, place.columns, place.objects, place.elementBytes);
    const Strides& s = place.strides;
    const std::int64_t bytes = (place.objects - 1) * s.object + (place.rows - 1) * s.row +
                               (place.columns - 1) * s.element + place.elementBytes;
    place.block = addBlock(bytes, chosen.offset);
    place.base = blocks[place.block].begin();
}

void Call::placeList(Place& place, Style style)
{
    place.strides = stridesOf(style, place.rows, place.columns, 1, place.elementBytes);
    const Strides& s = place.strides;
    const std::int64_t object = (place.rows - 1) * s.row + (place.columns - 1) * s.element + place.elementBytes;
    const std::int64_t distance = style == Style::packed ? object : std::max(object, s.object) + place.elementBytes;
    place.block = addBlock((place.objects - 1) * distance + object, chosen.offset);
    // Packed lists stand in order, so that both kinds of neighbours occur.
    const std::vector<int> order = scatteredOrder(place.objects);
    for (int n = 0; n < place.objects; ++n) {
        const int slot = style == Style::repeated ? n / 3 : style == Style::packed ? n : order[n];
        place.objectBases.push_back(blocks[place.block].begin() + slot * distance);
    }
    makeTable(place, place.objectBases);
}

void Call::placeTable(Place& place, Style style)
{
    const int elements = place.rows * place.columns, bytes = place.elementBytes;
    std::int64_t distance; // between the elements of one object
    if (style == Style::runs) {
        distance = bytes;
        place.strides.object = std::int64_t(elements) * bytes;
    } else if (style == Style::scattered) {
        distance = 2 * bytes;
        place.strides.object = (2 * elements + 1) * std::int64_t(bytes);
    } else {
        place.strides.object = style == Style::paddedPlanes ? 2 * bytes : bytes;
        distance = place.objects * place.strides.object + (style == Style::paddedPlanes ? 3 * bytes : 0);
    }
    place.block =
        addBlock((elements - 1) * distance + (place.objects - 1) * place.strides.object + bytes, chosen.offset);
    const std::vector<int> order = scatteredOrder(elements);
    for (int k = 0; k < elements; ++k) {
        const int slot = style == Style::scattered ? order[k] : style == Style::repeated ? k / 2 : k;
        place.elementBases.push_back(blocks[place.block].begin() + slot * distance);
    }
    makeTable(place, place.elementBases);
}

void Call::makeTable(Place& place, const std::vector<std::byte*>& bases)
{
    // Each operand has a shift of its own.
    place.roiShift = chosen.roiShifts ? place.elementBytes * std::int32_t(1 + (&place - places.data())) : 0;
    place.tableBlock = addBlock(std::int64_t(bases.size() * sizeof(void*)), 0);
    std::byte* table = blocks[place.tableBlock].begin();
    for (std::byte* base : bases) {
        const auto entry = reinterpret_cast<std::uintptr_t>(base) - std::uintptr_t(place.roiShift);
        std::memcpy(table, &entry, sizeof entry);
        table += sizeof entry;
    }
}

Value Call::argumentValue(const Argument& argument) const
{
    Value value{};
    const Place* place = argument.operand >= 0 ? &places[argument.operand] : nullptr;
    switch (argument.kind) {
    case Kind::table:
        value.pointer = blocks[place->tableBlock].begin();
        break;
    case Kind::objectStride:
        value.integer = std::int32_t(place->strides.object);
        break;
    case Kind::rowStride:
        value.integer = std::int32_t(place->strides.row);
        break;
    case Kind::elementStride:
        value.integer = std::int32_t(place->strides.element);
        break;
    case Kind::roiShift:
        value.integer = place->roiShift;
        break;
    case Kind::size:
        value.integer = chosen.sizes.find(argument.name)->second;
        break;
    case Kind::count:
        value.integer = chosen.count;
        break;
    case Kind::value:
        break;
    case Kind::pointer:
    case Kind::buffer:
    case Kind::indices:
    case Kind::scalars:
        value.pointer = place->base;
        break;
    }
    return value;
}

} // namespace tarnm::test
