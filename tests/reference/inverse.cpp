// Inverses.
#include <algorithm>

#include "reference/elimination.h"
#include "reference/matrices_near_singular.h"
#include "reference/problem.h"
#include "reference/tracked.h"

namespace tarnm::reference {
namespace {

template <class T> using Numbers = Rows<Tracked<T>>;

// What becomes of one object. Where rounding in an open order decides whether it is singular, either may happen.
enum class Fate { inverted, singular, either };

template <class T> struct Answer {
    Fate fate = Fate::singular;
    bool isExact = false;
    Rows<T> exact;                    // where isExact
    Numbers<T> inexact;               // elsewhere
    int copiedRows = 0, workRows = 0; // what a singular object leaves in its result
};

template <class N> Rows<N> square(int n) { return Rows<N>(std::size_t(n), std::vector<N>(std::size_t(n))); }

template <class T> Answer<T> either(int n)
{
    Answer<T> answer;
    answer.fate = Fate::either;
    answer.inexact = Numbers<T>(std::size_t(n), std::vector<Tracked<T>>(std::size_t(n), Tracked<T>(0, INFINITY)));
    return answer;
}

template <class T> bool isFinite(const Rows<T>& a)
{
    for (const auto& row : a)
        for (const T element : row)
            if (!std::isfinite(element)) return false;
    return true;
}

template <class T> bool hasNaN(const Rows<T>& a)
{
    for (const auto& row : a)
        for (const T element : row)
            if (std::isnan(element)) return true;
    return false;
}

template <class N> Rows<N> without(const Rows<N>& a, std::size_t row, std::size_t column)
{
    Rows<N> result;
    for (std::size_t r = 0; r < a.size(); ++r) {
        if (r == row) continue;
        auto& to = result.emplace_back();
        for (std::size_t c = 0; c < a.size(); ++c)
            if (c != column) to.push_back(a[r][c]);
    }
    return result;
}

// ---- 3x3, in the order given ----

template <class T> Answer<T> exact3(const Rows<T>& a, T t)
{
    Answer<T> answer;
    const T u = a[1][2] * a[0][1] - a[0][2] * a[1][1], v = a[2][2] * a[0][1] - a[0][2] * a[2][1];
    const T w = a[2][2] * a[1][1] - a[1][2] * a[2][1];
    const T det = u * a[2][0] - v * a[1][0] + w * a[0][0];
    if (t > std::fabs(det)) return answer;
    const T r = 1 / det;
    answer.fate = Fate::inverted;
    answer.isExact = true;
    answer.exact = {{r * w, 0 - r * v, u * r},
                    {(0 - (a[2][2] * a[1][0] - a[1][2] * a[2][0])) * r, (a[2][2] * a[0][0] - a[0][2] * a[2][0]) * r,
                     (0 - (a[1][2] * a[0][0] - a[0][2] * a[1][0])) * r},
                    {(a[2][1] * a[1][0] - a[1][1] * a[2][0]) * r, (0 - (a[2][1] * a[0][0] - a[0][1] * a[2][0])) * r,
                     (a[1][1] * a[0][0] - a[0][1] * a[1][0]) * r}};
    return answer;
}

// ---- Adjugate over determinant, in an open order ----

template <class T> Tracked<T> determinantOf(const Numbers<T>& a)
{
    if (a.size() == 1) return a[0][0];
    Tracked<T> sum;
    for (std::size_t i = 0; i < a.size(); ++i) {
        const Tracked<T> term = a[i][0] * determinantOf(without(a, i, 0));
        sum = i % 2 == 0 ? sum + term : sum - term;
    }
    return sum;
}

// Relative error of a refined reciprocal: the estimate has 12 bits at least, which the step doubles, and three roundings.
constexpr long double refined = 0x1p-20L;

template <class T> Fate fateOf(const Tracked<T>& number, long double t)
{
    if (number.isSurelyBelow(t)) return Fate::singular;
    // A number without an error is compared as it is.
    const bool isExact = number.isKnown() && number.bound == 0;
    if (number.isSurelyAbove(t) || (isExact && number.magnitude() >= t)) return Fate::inverted;
    return Fate::either;
}

template <class T> Answer<T> adjugate(const Numbers<T>& a, T t, long double reciprocalError)
{
    const std::size_t n = a.size();
    Answer<T> answer = either<T>(int(n));
    const Tracked<T> det = determinantOf(a);
    answer.fate = fateOf(det, t);
    if (answer.fate != Fate::inverted) return answer;
    const Tracked<T> r = det.reciprocal(reciprocalError);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            const Tracked<T> scaled = r * determinantOf(without(a, i, j));
            answer.inexact[j][i] = (i + j) % 2 == 0 ? scaled : Tracked<T>() - scaled;
        }
    return answer;
}

template <class T> Numbers<T> tracked(const Rows<T>& a)
{
    Numbers<T> numbers;
    for (const auto& row : a)
        numbers.emplace_back(row.begin(), row.end());
    return numbers;
}

// Products of powers of two and zeros have no error, nor have small integers.
template <class T> bool isExactMatrix(const Rows<T>& a)
{
    bool areIntegers = true;
    for (const auto& row : a) {
        int others = 0;
        for (const T element : row) {
            areIntegers = areIntegers && std::fabs(element) <= 4 && element == std::floor(element);
            others += element != 0;
        }
        if (others > 1 && !areIntegers) return false;
    }
    return true;
}

// In which nothing is rounded; a determinant below the normal numbers is not looked at more closely.
template <class T> Tracked<T> exactDeterminant(const Rows<T>& a)
{
    long double value = 0;
    if (a.size() == 1) return Tracked<T>(a[0][0]);
    for (std::size_t i = 0; i < a.size(); ++i)
        if (a[i][0] != 0) value += (i % 2 == 0 ? 1 : -1) * a[i][0] * exactDeterminant(without(a, i, 0)).value;
    return Tracked<T>(value, 0.0L);
}

template <class T> Answer<T> closed(const Rows<T>& a, T t, long double reciprocalError)
{
    Answer<T> answer = adjugate(tracked(a), t, reciprocalError);
    if (hasNaN(a)) {
        answer.fate = Fate::inverted;
        answer.isExact = true;
        answer.exact = Rows<T>(a.size(), std::vector<T>(a.size(), std::numeric_limits<T>::quiet_NaN()));
    } else if (answer.fate == Fate::either && isFinite(a) && isExactMatrix(a)) {
        answer.fate = exactDeterminant(a).magnitude() < t ? Fate::singular : Fate::inverted;
    }
    return answer;
}

// ---- Blocks ----

template <class T> struct Step {
    std::size_t column = 0;
    Fate fate = Fate::either;
};

// The chosen column of row k, from column k on.
template <class T> Step<T> chooseColumn(const Numbers<T>& a, std::size_t k, T t)
{
    const std::size_t n = a.size();
    long double largest = 0;
    for (std::size_t c = k; c < n; ++c)
        largest = std::max(largest, a[k][c].magnitude());
    Step<T> step;
    step.column = n == 5 ? 4 : k;
    const std::size_t last = n == 5 ? 3 : n - 1;
    for (std::size_t c = k; c <= last; ++c)
        if (a[k][c].magnitude() == largest) step.column = c;
    step.fate = fateOf(a[k][step.column], t);
    return step;
}

template <class T> void exchangeColumns(Numbers<T>& a, std::size_t p, std::size_t q)
{
    for (auto& row : a)
        std::swap(row[p], row[q]);
}

// Rows and columns from k on, into `x`.
template <class T> Fate invertBlock(Numbers<T> a, std::size_t k, T t, Numbers<T>& x, Answer<T>& answer)
{
    const std::size_t n = a.size();
    if (k == n - 4) {
        Numbers<T> last;
        for (std::size_t r = k; r < n; ++r)
            last.emplace_back(a[r].begin() + std::ptrdiff_t(k), a[r].end());
        const Answer<T> inner = adjugate(last, t, refined);
        for (std::size_t r = 0; r < 4; ++r)
            for (std::size_t c = 0; c < 4; ++c)
                x[k + r][k + c] = inner.inexact[r][c];
        answer.workRows = int(k);
        return inner.fate;
    }
    const Step<T> step = chooseColumn(a, k, t);
    if (step.fate == Fate::singular) {
        answer.workRows = int(n - 4);
        answer.copiedRows = n == 5;
    }
    if (step.fate != Fate::inverted) return step.fate;
    exchangeColumns(a, k, step.column);
    const Tracked<T> r = a[k][k].reciprocal(refined);
    Numbers<T> reduced = a;
    std::vector<Tracked<T>> u(n);
    for (std::size_t i = k + 1; i < n; ++i) {
        u[i] = r * a[i][k];
        for (std::size_t j = k + 1; j < n; ++j)
            reduced[i][j] = a[i][j] - u[i] * a[k][j];
    }
    const Fate fate = invertBlock(reduced, k + 1, t, x, answer);
    if (fate != Fate::inverted) return fate;

    // x holds the inverse of the block with its own exchanges undone; row k is as it was before them.
    Tracked<T> w;
    for (std::size_t i = k + 1; i < n; ++i) {
        Tracked<T> sum;
        for (std::size_t j = k + 1; j < n; ++j)
            sum = sum - x[i][j] * u[j];
        x[i][k] = sum;
    }
    for (std::size_t j = k + 1; j < n; ++j)
        w = w + a[k][j] * x[j][k];
    for (std::size_t j = k + 1; j < n; ++j) {
        Tracked<T> sum;
        for (std::size_t i = k + 1; i < n; ++i)
            sum = sum - a[k][i] * x[i][j];
        x[k][j] = r * sum;
    }
    x[k][k] = r - w * r;
    std::swap(x[k], x[step.column]);
    return Fate::inverted;
}

template <class T> Answer<T> blocks(const Rows<T>& a, T t)
{
    Answer<T> answer = either<T>(int(a.size()));
    if (!isFinite(a)) return answer;
    Numbers<T> x = square<Tracked<T>>(int(a.size()));
    answer.fate = invertBlock(tracked(a), 0, t, x, answer);
    if (answer.fate == Fate::inverted) answer.inexact = x;
    return answer;
}

// ---- Cofactors by elimination, exact ----

template <class T> Answer<T> byCofactors(const Rows<T>& a, bool testsLastPivot)
{
    const std::size_t n = a.size();
    const T t = tolerance<T>(int(n));
    Answer<T> answer;
    const Elimination<T> whole(a, t, true, false);
    if (whole.failed) return answer;
    const T l = whole.last(), det = whole.product * l * T(whole.sign);
    if (testsLastPivot ? !(std::fabs(l) > t) : t >= std::fabs(det)) return answer;
    answer.fate = Fate::inverted;
    answer.isExact = true;
    answer.exact = a;
    const T r = 1 / det;
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t j = 0; j < n; ++j) {
            const Elimination<T> e(without(a, i, j), t, true, false);
            const T product = e.failed ? t : e.product;
            const T minor = std::fabs(e.last()) > t ? e.last() * T(e.sign) * product : t;
            answer.exact[j][i] = (r * minor) * T((i + j) % 2 == 0 ? 1 : -1);
        }
    return answer;
}

// ---- The kernels ----

template <class T> Answer<T> answerFor(const Problem<T>& problem, const Rows<T>& a)
{
    const int n = int(a.size());
    const bool isArray = problem.member().code == "ma", isDense = problem.path() == Path::dense;
    if (n < 3 || n > 6) return byCofactors(a, isArray && problem.path() == Path::pointer);
    const T t = tolerance<T>(n) * T(isDense && sizeof(T) == 8 && n < 5 ? 2 : 1);
    if (!isDense || sizeof(T) == 8) return n == 3 ? exact3(a, t) : closed(a, t, 0);
    if (n > 4) return blocks(a, t);
    if (n == 3 && isArray && problem.member().layout == "S") return exact3(a, t);
    return closed(a, t, refined);
}

template <class T> Rows<T> matrixOf(const Problem<T>& problem, int n, int order)
{
    Rows<T> a = square<T>(order);
    for (int r = 0; r < order; ++r)
        for (int c = 0; c < order; ++c)
            a[std::size_t(r)][std::size_t(c)] = problem.stored("src", n, r, c);
    return a;
}

template <class T> void tell(const Answer<T>& answer, const Rows<T>& a, Outcome<T>& outcome, int n)
{
    const int order = int(a.size());
    for (int r = 0; r < order; ++r)
        for (int c = 0; c < order; ++c) {
            const std::size_t i = std::size_t(r), j = std::size_t(c);
            if (answer.fate == Fate::singular) {
                if (r < answer.copiedRows)
                    outcome.exactly("dst", n, r, c, a[i][j]);
                else if (r < answer.workRows)
                    outcome.anything("dst", n, r, c);
            } else if (answer.isExact) {
                outcome.exactly("dst", n, r, c, answer.exact[i][j]);
            } else if (answer.fate == Fate::inverted && answer.inexact[i][j].isKnown()) {
                const Tracked<T>& x = answer.inexact[i][j];
                outcome.within("dst", n, r, c, double(x.value), double(Tracked<T>::slack * x.bound));
            } else {
                outcome.anything("dst", n, r, c);
            }
        }
}

// Of which both objects are tested before either is written.
template <class T> bool arePaired(const Problem<T>& problem)
{
    if (sizeof(T) != 4 || problem.member().code != "ma" || problem.member().layout != "S") return false;
    if (problem.path() != Path::dense || problem.size("widthHeight") != 4) return false;
    const auto strides = problem.argument("srcObjectStride") | problem.argument("dstObjectStride");
    const auto addresses = problem.argumentAddress("pSrc") | problem.argumentAddress("pDst");
    return problem.argument("srcRowStride") == 16 && problem.argument("dstRowStride") == 16 && strides % 16 == 0 &&
           addresses % 16 == 0;
}

// A slice ends at its first singular object.
template <class T> void invertSlice(const Problem<T>& problem, Outcome<T>& outcome, const Slice& slice)
{
    const int order = problem.size("widthHeight"), end = slice.first + slice.count;
    const bool isPaired = arePaired(problem);
    for (int n = slice.first; n < end; ++n) {
        const Rows<T> a = matrixOf(problem, n, order);
        const Answer<T> answer = answerFor(problem, a);
        if (answer.fate == Fate::either) {
            // This object and its partner, and all that follow, may be written or not.
            outcome.alsoAccept(StatusSingular);
            const int first = isPaired && n % 2 == 1 && n > slice.first ? n - 1 : n;
            for (int other = first; other < end; ++other)
                tell(either<T>(order), a, outcome, other);
            return;
        }
        // The first of a pair waits for the second.
        if (isPaired && n % 2 == 0 && n + 1 < end && answer.fate == Fate::inverted) {
            const Fate second = answerFor(problem, matrixOf(problem, n + 1, order)).fate;
            if (second == Fate::singular) {
                outcome.status = StatusSingular;
                return;
            }
            if (second == Fate::either) continue;
        }
        tell(answer, a, outcome, n);
        if (answer.fate == Fate::singular) {
            outcome.status = StatusSingular;
            return;
        }
    }
}

// The entry answers order 1 by itself, on one thread.
template <class T> void invertNumbers(const Problem<T>& problem, Outcome<T>& outcome)
{
    for (int n = 0; n < problem.count(); ++n) {
        const T a = problem.stored("src", n, 0, 0);
        if (!(std::fabs(a) > tolerance<T>(1))) {
            outcome.status = StatusSingular;
            return;
        }
        outcome.exactly("dst", n, 0, 0, 1 / a);
    }
}

template <class T> void inverse(const Problem<T>& problem, Outcome<T>& outcome)
{
    if (problem.size("widthHeight") == 1) return invertNumbers(problem, outcome);
    for (const Slice& slice : problem.slices())
        invertSlice(problem, outcome, slice);
}

void fixedInverse(const Problem<float>& problem, Outcome<float>& outcome)
{
    Rows<float> a = square<float>(4);
    for (int i = 0; i < 16; ++i)
        a[std::size_t(i / 4)][std::size_t(i % 4)] = problem.element("src", 0, i);
    const float t = 1.5046328e-36f;
    const Answer<float> answer = closed(a, t, refined);
    const Tracked<float> det = determinantOf(tracked(a));
    if (answer.fate == Fate::singular) {
        outcome.status = StatusSingular;
        outcome.exactly("det", 0, 0, 0.0f);
        return;
    }
    if (answer.fate == Fate::either) outcome.alsoAccept(StatusSingular);
    if (answer.fate == Fate::inverted && det.isKnown())
        outcome.within("det", 0, 0, double(det.value), double(Tracked<float>::slack * det.bound));
    else if (answer.isExact)
        outcome.exactly("det", 0, 0, std::numeric_limits<float>::quiet_NaN());
    else
        outcome.anything("det", 0, 0);
    for (int i = 0; i < 16; ++i) {
        const Tracked<float>* x = answer.isExact ? nullptr : &answer.inexact[std::size_t(i / 4)][std::size_t(i % 4)];
        if (x == nullptr)
            outcome.exactly("dst", 0, i, answer.exact[std::size_t(i / 4)][std::size_t(i % 4)]);
        else if (answer.fate == Fate::inverted && x->isKnown())
            outcome.within("dst", 0, i, double(x->value), double(Tracked<float>::slack * x->bound));
        else
            outcome.anything("dst", 0, i);
    }
}

// Singular objects end a call, so that most objects of a call are regular.
void fillRegular(Filler& filler)
{
    const bool isOdd = filler.caseNumber() > 0 && filler.object() % 7 != 3 && filler.member().code == "ma";
    if (!isOdd) return fillMatrix(filler);
    if (filler.caseNumber() == 3) return fillMatrix(filler);
}

// Larger orders take as long as they are dear: the work grows with the fifth power.
std::vector<std::map<std::string, int>> orders(const test::Member& member)
{
    if (member.code == "m4") return {{}};
    std::vector<std::map<std::string, int>> sizes;
    for (int n = 1; n <= 9; ++n)
        sizes.push_back({{"widthHeight", n}});
    return sizes;
}

const Options options{.sizes = orders, .fill = fillRegular, .cases = 4};
const Registration registrations[] = {
    {"Invert", "m ma", inverse<float>, inverse<double>, options},
    {"Invert", "m4", fixedInverse, nullptr, options},
};

} // namespace
} // namespace tarnm::reference
