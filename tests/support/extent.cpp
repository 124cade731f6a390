#include "support/extent.h"

#include <cctype>
#include <stdexcept>

namespace tarnm::test {
namespace {

class Parser {
public:
    Parser(std::string_view expression, const Sizes& sizes, int elementSize)
        : rest(expression)
        , whole(expression)
        , sizes(sizes)
        , elementSize(elementSize)
    {}

    std::int64_t all()
    {
        const std::int64_t value = sum();
        if (!rest.empty()) fail();
        return value;
    }

private:
    std::int64_t sum()
    {
        std::int64_t value = product();
        while (take('+'))
            value += product();
        return value;
    }

    std::int64_t product()
    {
        std::int64_t value = factor();
        while (take('*'))
            value *= factor();
        return value;
    }

    std::int64_t factor()
    {
        if (take('(')) {
            const std::int64_t value = sum();
            if (!take(')')) fail();
            return value;
        }
        skipBlanks();
        std::size_t length = 0;
        while (length < rest.size() && std::isalnum(static_cast<unsigned char>(rest[length])))
            ++length;
        if (length == 0) fail();
        const std::string word(rest.substr(0, length));
        rest.remove_prefix(length);
        skipBlanks();
        if (std::isdigit(static_cast<unsigned char>(word[0]))) return std::stoll(word);
        if (word == "elementSize") return elementSize;
        const auto size = sizes.find(word);
        if (size == sizes.end()) fail();
        return size->second;
    }

    void skipBlanks()
    {
        while (!rest.empty() && rest.front() == ' ')
            rest.remove_prefix(1);
    }

    bool take(char wanted)
    {
        skipBlanks();
        if (rest.empty() || rest.front() != wanted) return false;
        rest.remove_prefix(1);
        skipBlanks();
        return true;
    }

    [[noreturn]] void fail() const { throw std::invalid_argument("no extent: " + std::string(whole)); }

    std::string_view rest;
    std::string_view whole;
    const Sizes& sizes;
    int elementSize;
};

} // namespace

std::int64_t evaluateExtent(std::string_view expression, const Sizes& sizes, int elementSize)
{
    return Parser(expression, sizes, elementSize).all();
}

} // namespace tarnm::test
