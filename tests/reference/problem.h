// What a reference sees of a call, and what it says that the call must leave.
//
//   Path           which kind of kernel the arguments lead to
//   Problem        the call as mathematics, as it was before it ran; read-only
//   Outcome        what the call must leave; whatever is not said must be untouched
//   Filler         what a family puts into the sources instead of random numbers
//   Options        how a family is tested
//   Registration   joins a reference to the members that it describes
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "support/call.h"
#include "support/members.h"
#include "tarnm/tarnm.h"

namespace tarnm::reference {

enum class Path { dense, strided, pointer };

// The objects first .. first + count - 1 of a call, as one thread works on them.
struct Slice {
    int first;
    int count;
};

// What does not depend on the element type.
class AnyProblem {
public:
    // `answers`: what the call heard when it asked for the number of threads, in turn.
    AnyProblem(const test::Call& call, std::vector<std::int32_t> answers)
        : call(call)
        , answers(std::move(answers))
    {}

    using Slice = reference::Slice;

    const test::Member& member() const { return call.member(); }
    Path path() const; // dense: every element stride equals the element size
    std::int32_t size(std::string_view name) const { return argument(name); }
    std::int32_t count() const;                                        // 1 for members without count
    std::int32_t argument(std::string_view name) const;                // any integer argument: strides, shifts, sizes
    std::int32_t index(std::string_view argument, int n, int k) const; // int32 inputs
    std::uintptr_t address(std::string_view operand, int n, int r, int c) const;
    std::uintptr_t argumentAddress(std::string_view argument) const; // the pointer argument itself
    // How the objects are spread over threads; one slice when the call is serial.
    std::vector<Slice> slices() const;

protected:
    const test::Call& call;

private:
    std::vector<std::int32_t> answers;
};

template <class T> class Problem : public AnyProblem {
public:
    using AnyProblem::AnyProblem;

    T value(std::string_view name) const; // constants passed by value
    // Source element as stored (vectors: r = 0).
    T stored(std::string_view operand, int n, int r, int c) const;
    // The same with rows and columns exchanged for a t operand.
    T seen(std::string_view operand, int n, int r, int c) const;
    // Element k of a vector; arrays of constants: k = 0; plain scalars; a constant passed by value is the same for all.
    T element(std::string_view operand, int n, int k) const;
};

// Results are addressed by operand ("dst", "dstRight") or plain pointer argument ("pDst", "pDstIndex");
// (r, c) is as stored, k an element of a vector or plain scalar.
template <class T> class Outcome {
public:
    explicit Outcome(const test::Call& call)
        : call(call)
    {}

    tarnmStatus status = StatusOk;

    void exactly(std::string_view result, int n, int r, int c, T value); // same bits; any NaN matches any NaN
    void exactly(std::string_view result, int n, int k, T value) { exactly(result, n, 0, k, value); }
    void within(std::string_view result, int n, int r, int c, double value, double bound); // |got - value| <= bound
    void within(std::string_view result, int n, int k, double value, double bound)
    {
        within(result, n, 0, k, value, bound);
    }
    void anything(std::string_view result, int n, int r, int c); // may have been written, contents unspecified
    void anything(std::string_view result, int n, int k) { anything(result, n, 0, k); }
    void index(std::string_view argument, int n, int k, std::int32_t value); // int32 results

    // Where threads that fail differ in their status, one of several may be returned.
    void alsoAccept(tarnmStatus other) { otherStatuses.push_back(other); }

    // What the call did otherwise, one line each, at most `limit` of them.
    std::vector<std::string> mismatches(test::Call& after, tarnmStatus returned, std::size_t limit) const;

private:
    enum class Kind { exact, bounded, free, integer };
    struct Expectation {
        Kind kind;
        int operand;
        int n, r, c;
        double value;
        double bound;
    };

    const test::Call& call;
    std::vector<Expectation> expectations;
    std::vector<tarnmStatus> otherStatuses;
};

class Filler {
public:
    Filler(test::Call& call, int caseNumber, std::mt19937& generator)
        : call(call)
        , number(caseNumber)
        , generator(generator)
    {}

    const test::Member& member() const { return call.member(); }
    int caseNumber() const { return number; }
    int object() const { return n; } // which object is to be filled
    std::int32_t size(std::string_view name) const;
    double random(double low = -2, double high = 2);
    // Vectors, constants and plain scalars have r = 0. A single operand belongs to all objects: the last one that
    // sets it prevails.
    void set(std::string_view operand, int r, int c, double value);
    void setIndex(std::string_view argument, int k, std::int32_t value);

    void goTo(int objectNumber) { n = objectNumber; }

private:
    test::Call& call;
    int number;
    int n = 0;
    std::mt19937& generator;
};

struct Options {
    // Which sizes to try; each entry assigns all size arguments of the member. Default: chosen by the signature.
    std::function<std::vector<std::map<std::string, int>>(const test::Member&)> sizes = {};
    // Fills the sources of one object, ahead of which they hold random numbers in [-2, 2]. Objects of these families
    // never overlap each other.
    std::function<void(Filler&)> fill = {};
    int cases = 3; // case numbers 0 .. cases - 1
    // Also run with NaN, infinities, -0, denormals and huge values sprinkled into the sources.
    bool specials = true;
};

template <class T> using Reference = void (*)(const Problem<T>&, Outcome<T>&);

struct Registration {
    // `codes`: blank separated, all of the operation where empty.
    Registration(std::string_view operation, std::string_view codes, Reference<float> single, Reference<double> real,
                 Options options = {});

    std::string operation;
    std::vector<std::string> codes;
    Reference<float> single;
    Reference<double> real;
    Options options;

    bool covers(const test::Member& member) const;
};

// All references that describe the member; exactly one is right.
std::vector<const Registration*> registrationsOf(const test::Member& member);

} // namespace tarnm::reference
