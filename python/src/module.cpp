// The functions of the module _tarnm. What they have in common is told by the docstring of the package.
#define TARNM_PYTHON_IMPORTS_ARRAY
#include "elimination.h"
#include "stack_call.h"
#include "threads.h"

#include <algorithm>
#include <optional>

namespace tarnm::python {
namespace {

using object = py::object;

object none() { return py::none(); }

// 0 where a call asks for no number of its own.
int threads_of(const object& threads)
{
    if (threads.is_none()) return 0;
    const int number = threads.cast<int>();
    if (number < 1) throw py::value_error("tarnm: threads must be 1 or more, not " + std::to_string(number));
    return number;
}

options options_of(const object& out, const object& errors, const object& threads, bool copy)
{
    options o;
    o.out = out;
    o.copy = copy;
    o.threads = threads_of(threads);
    if (!errors.is_none()) {
        const std::string how = py::str(errors);
        if (how != "raise" && how != "return")
            throw py::value_error("tarnm: errors must be 'raise' or 'return', not '" + how + "'");
        o.report = how == "return";
    }
    return o;
}

// Item i of a tuple of results, or nothing.
object out_of(const options& o, const char* function, int i, int number)
{
    if (o.out.is_none()) return o.out;
    if (!py::isinstance<py::tuple>(o.out) || py::len(o.out) != static_cast<std::size_t>(number))
        throw py::type_error(std::string("tarnm.") + function + ": out must be a tuple of " + std::to_string(number) +
                             " arrays");
    return py::reinterpret_borrow<py::tuple>(o.out)[static_cast<std::size_t>(i)];
}

// A list of arrays has those of its items and one for the stack.
int axes_of(const object& array)
{
    if (is_list(array) && py::len(array) > 0) return 1 + std::max(0, axes_of(array[py::int_(0)]));
    return PyArray_Check(array.ptr()) ? PyArray_NDIM(reinterpret_cast<PyArrayObject*>(array.ptr())) : -1;
}

void must_be_square(const stack_call& call)
{
    call.require(call.rows(0) == call.columns(0), "matrices must be square", {0});
}

// ---- products

object dot(const object& a, const object& b, const object& out, const object& threads, bool copy);

object matvec_of(const char* function, const object& a, const object& x, bool transposed, const options& o)
{
    stack_call call(function, o);
    call.input("a", a, 2);
    if (transposed) call.transpose(0);
    call.input(transposed ? "b" : "x", x, 1);
    call.require(call.columns(0) == call.columns(1), "the columns of a matrix and the elements of a vector differ",
                 {0, 1});
    call.broadcast();
    call.output("out", o.out, {call.rows(0)});
    call.run(multiply_vectors, {.planar = true, .lists = true});
    return call.result(0);
}

object matvec(const object& a, const object& x, const object& out, const object& threads, bool copy)
{
    return matvec_of("matvec", a, x, false, options_of(out, none(), threads, copy));
}

object matmul(const object& a, const object& b, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    if (axes_of(a) == 1 && axes_of(b) == 1) return dot(a, b, out, threads, copy);
    if (axes_of(b) == 1) return matvec_of("matmul", a, b, false, o);
    if (axes_of(a) == 1) return matvec_of("matmul", b, a, true, o);
    stack_call call("matmul", o);
    call.input("a", a, 2);
    call.input("b", b, 2);
    call.require(call.columns(0) == call.rows(1), "the columns of a and the rows of b differ", {0, 1});
    call.broadcast();
    call.output("out", o.out, {call.rows(0), call.columns(1)});
    call.run(multiply_matrices, {.planar = true, .lists = true});
    return call.result(0);
}

// ---- vectors

object dot(const object& a, const object& b, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    stack_call call("dot", o);
    call.input("a", a, 1);
    call.input("b", b, 1);
    call.require(call.columns(0) == call.columns(1), "vectors differ in length", {0, 1});
    call.broadcast();
    call.output("out", out, {}, content::elements, true);
    call.run(dot_products, {.planar = true, .lists = true});
    return call.result(0);
}

object norm(const object& a, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    stack_call call("norm", o);
    call.input("a", a, 1);
    call.broadcast();
    call.output("out", out, {}, content::elements, true);
    call.run(norms, {.planar = true, .lists = true});
    return call.result(0);
}

object cross(const object& a, const object& b, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    stack_call call("cross", o);
    call.input("a", a, 1);
    call.input("b", b, 1);
    call.require(call.columns(0) == 3 && call.columns(1) == 3, "vectors must have 3 elements", {0, 1});
    call.broadcast();
    call.output("out", out, {3});
    call.run(cross_products, {.planar = true, .lists = true});
    return call.result(0);
}

// ---- elementwise

bool is_number(const object& x)
{
    return PyFloat_Check(x.ptr()) || PyLong_Check(x.ptr()) || PyArray_IsScalar(x.ptr(), Generic) || axes_of(x) == 0;
}

// A list of matrices and a number: the rows of all matrices are a list of vectors.
object with_number(const char* function, const object& a, const object& number, const kernel_pair& kernels,
                   const options& o);

py::list rows_of(const object& matrices)
{
    py::list rows;
    for (const py::handle matrix : matrices)
        for (const py::handle row : matrix)
            rows.append(row);
    return rows;
}

object scaled_list(const char* function, const object& a, const object& number, const kernel_pair& kernels,
                   const options& o)
{
    const bool to_list = is_list(o.out);
    const py::tuple shape = object(a[py::int_(0)]).attr("shape");
    const py::tuple by_rows = py::make_tuple(-1, shape[1]);
    options inner = o;
    if (to_list)
        inner.out = rows_of(o.out);
    else if (!o.out.is_none())
        inner.out = o.out.attr("reshape")(by_rows);
    const object rows = with_number(function, rows_of(a), number, kernels, inner);
    if (!o.out.is_none()) return o.out;
    return rows.attr("reshape")(py::make_tuple(py::len(a), shape[0], shape[1]));
}

object with_number(const char* function, const object& a, const object& number, const kernel_pair& kernels,
                   const options& o)
{
    if (is_list(a) && axes_of(a) == 3) return scaled_list(function, a, number, kernels, o);
    stack_call call(function, o);
    call.input("a", a, 1);
    call.may_be_result(0);
    call.broadcast();
    call.output("out", o.out, {call.columns(0)});
    call.run(kernels, {.planar = true, .lists = true, .number = number.cast<double>(), .core = 1});
    return call.result(0);
}

// What the two arrays have in common at their ends: matrices, vectors, or less.
int common_core(const object& a, const object& b)
{
    if (is_list(a) || is_list(b)) return std::clamp(axes_of(is_list(a) ? a : b) - 1, 1, 2);
    auto* const x = reinterpret_cast<PyArrayObject*>(a.ptr());
    auto* const y = reinterpret_cast<PyArrayObject*>(b.ptr());
    const int m = axes_of(a), n = axes_of(b);
    if (m < 1 || n < 1 || PyArray_DIM(x, m - 1) != PyArray_DIM(y, n - 1)) return m < 1 || n < 1 ? 1 : 0;
    const bool same_rows =
        m >= 2 && n >= 2 && PyArray_DIM(x, m - 2) == PyArray_DIM(y, n - 2) && PyArray_DIM(x, m - 2) > 0;
    return same_rows ? 2 : 1;
}

object combined(const char* function, object a, object b, const kernel_pair& kernels, const options& o)
{
    int core = common_core(a, b);
    if (core == 0) {
        // Axes of length 1 within an object: NumPy spreads them.
        if (!o.copy)
            throw py::value_error(std::string("tarnm.") + function +
                                  ": the arrays would have to be copied, which copy=False forbids");
        const py::list both(py::module_::import("numpy").attr("broadcast_arrays")(a, b));
        a = both[0].attr("copy")();
        b = both[1].attr("copy")();
        core = 1;
    }
    stack_call call(function, o);
    call.input("a", a, core);
    call.input("b", b, core);
    call.may_be_result(0);
    call.may_be_result(1);
    call.require(call.columns(0) == call.columns(1) && (core == 1 || call.rows(0) == call.rows(1)),
                 "objects differ in shape", {0, 1});
    call.broadcast();
    if (core == 2)
        call.output("out", o.out, {call.rows(0), call.columns(0)});
    else
        call.output("out", o.out, {call.columns(0)});
    call.run(kernels, {.planar = true, .lists = true, .core = core});
    return call.result(0);
}

object add(const object& a, const object& b, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    if (is_number(b)) return with_number("add", a, b, sums_with_number, o);
    if (is_number(a)) return with_number("add", b, a, sums_with_number, o);
    return combined("add", a, b, sums, o);
}

object subtract(const object& a, const object& b, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    if (is_number(b)) return with_number("subtract", a, b, differences_with_number, o);
    if (is_number(a)) return with_number("subtract", b, a, differences_from_number, o);
    return combined("subtract", a, b, differences, o);
}

object scale(const object& a, const object& c, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    if (!is_number(c)) throw py::type_error("tarnm.scale: c must be a number");
    return with_number("scale", a, c, products_with_number, o);
}

// ---- functions of a matrix

object one_number(const char* function, const object& a, const kernel_pair& kernels, const options& o)
{
    stack_call call(function, o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    call.output("out", o.out, {}, content::elements, true);
    call.run(kernels, {.planar = true, .lists = true});
    return call.result(0);
}

object det(const object& a, const object& out, const object& threads, bool copy)
{
    return one_number("det", a, determinants, options_of(out, none(), threads, copy));
}

object trace(const object& a, const object& out, const object& threads, bool copy)
{
    return one_number("trace", a, traces, options_of(out, none(), threads, copy));
}

object transpose(const object& a, const object& out, const object& threads, bool copy)
{
    const options o = options_of(out, none(), threads, copy);
    stack_call call("transpose", o);
    call.input("a", a, 2);
    call.broadcast();
    call.output("out", out, {call.columns(0), call.rows(0)});
    call.run(transposes, {.planar = true, .lists = true});
    return call.result(0);
}

object inv(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("inv", o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    call.output("out", out, {call.rows(0), call.rows(0)});
    call.run(inverses, {.can_fail = true, .planar = true, .in_blocks = true, .lists = true});
    return call.results(1);
}

// ---- systems of equations

// The right side b: vectors where it has one axis, or one less than a, as NumPy has it; matrices otherwise. Vectors pass as matrices of one column.
object with_column_axis(const object& b)
{
    const py::tuple place = py::make_tuple(py::ellipsis(), py::none());
    if (!is_list(b)) return b[place];
    py::list columns;
    for (const py::handle item : b)
        columns.append(item[place]);
    return columns;
}

struct system {
    const char* function;
    const char* matrix_name;
    bool can_fail;
    bool may_be_tall;
};

object solved(const system& how, const object& a, const object& b, const object* pivots, const kernel_pair& kernels,
              const options& o)
{
    stack_call call(how.function, o);
    call.input(how.matrix_name, a, 2);
    const bool vectors = axes_of(b) == 1 || (axes_of(b) > 1 && axes_of(b) == axes_of(a) - 1);
    call.input("b", vectors ? with_column_axis(b) : b, 2);
    call.must_be_stack(1);
    if (pivots != nullptr) call.input("pivots", *pivots, 1);
    if (how.may_be_tall)
        call.require(call.rows(0) >= call.columns(0), "matrices must have at least as many rows as columns", {0});
    else
        must_be_square(call);
    call.require(call.rows(0) == call.rows(1), "the rows of the matrix and of the right side differ", {0, 1});
    call.broadcast();
    const object out = o.out.is_none() || !vectors ? o.out : with_column_axis(o.out);
    call.output("out", out, {call.columns(0), call.columns(1)});
    call.run(kernels, {.can_fail = how.can_fail, .in_blocks = true, .lists = true});
    object x = call.result(0);
    if (vectors) x = o.out.is_none() ? object(x[py::make_tuple(py::ellipsis(), 0)]) : o.out;
    if (!o.report) return x;
    return py::make_tuple(x, call.statuses());
}

object solve(const object& a, const object& b, const object& out, const object& errors, const object& threads,
             bool copy)
{
    return solved({"solve", "a", true, false}, a, b, nullptr, solutions, options_of(out, errors, threads, copy));
}

object lstsq(const object& a, const object& b, const object& out, const object& errors, const object& threads,
             bool copy)
{
    return solved({"lstsq", "a", true, true}, a, b, nullptr, qr_solutions, options_of(out, errors, threads, copy));
}

object lu_solve(const object& factors, const object& pivots, const object& b, const object& out, const object& threads,
                bool copy)
{
    return solved({"lu_solve", "factors", false, false}, factors, b, &pivots, lu_solutions,
                  options_of(out, none(), threads, copy));
}

object cholesky_solve(const object& lower, const object& b, const object& out, const object& threads, bool copy)
{
    return solved({"cholesky_solve", "lower", false, false}, lower, b, nullptr, cholesky_solutions,
                  options_of(out, none(), threads, copy));
}

object qr_solve(const object& factors, const object& b, const object& out, const object& threads, bool copy)
{
    return solved({"qr_solve", "factors", false, true}, factors, b, nullptr, qr_factored_solutions,
                  options_of(out, none(), threads, copy));
}

// ---- factors

// out: factors, pivots, exponents.
object lu(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("lu", o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    call.output("the factors of out", out_of(o, "lu", 0, 3), {call.rows(0), call.rows(0)}, content::elements, true);
    call.output("the pivots of out", out_of(o, "lu", 1, 3), {call.rows(0)}, content::indices, true);
    call.output("the exponents of out", out_of(o, "lu", 2, 3), {}, content::indices, true);
    call.run(lu_factors, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(3);
}

object cholesky(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("cholesky", o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    call.output("out", out, {call.rows(0), call.rows(0)});
    call.run(cholesky_lower, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(1);
}

void must_be_tall(const stack_call& call)
{
    call.require(call.rows(0) >= call.columns(0), "matrices must have at least as many rows as columns", {0});
}

// out: factors, exponents.
object qr_factor(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("qr_factor", o);
    call.input("a", a, 2);
    must_be_tall(call);
    call.broadcast();
    call.output("the factors of out", out_of(o, "qr_factor", 0, 2), {call.rows(0), call.columns(0)}, content::elements,
                true);
    call.output("the exponents of out", out_of(o, "qr_factor", 1, 2), {}, content::indices, true);
    call.run(qr_factors, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(2);
}

object qr(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("qr", o);
    call.input("a", a, 2);
    must_be_tall(call);
    call.broadcast();
    call.output("out[0]", out_of(o, "qr", 0, 2), {call.rows(0), call.columns(0)});
    call.output("out[1]", out_of(o, "qr", 1, 2), {call.columns(0), call.columns(0)});
    call.run(qr_matrices, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(2);
}

// ---- eigenproblems

// The library reads the upper triangle.
void choose_triangle(stack_call& call, const char* function, const std::string& triangle)
{
    if (triangle == "L" || triangle == "l")
        call.transpose(0);
    else if (triangle != "U" && triangle != "u")
        throw py::value_error(std::string("tarnm.") + function + ": UPLO must be 'L' or 'U', not '" + triangle + "'");
}

object eigvalsh(const object& a, const std::string& triangle, const object& out, const object& errors,
                const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("eigvalsh", o);
    call.input("a", a, 2);
    must_be_square(call);
    choose_triangle(call, "eigvalsh", triangle);
    call.broadcast();
    call.output("out", out, {call.rows(0)}, content::elements, true);
    call.run(symmetric_values, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(1);
}

object eigh(const object& a, const std::string& triangle, const object& out, const object& errors,
            const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("eigh", o);
    call.input("a", a, 2);
    must_be_square(call);
    choose_triangle(call, "eigh", triangle);
    call.broadcast();
    call.output("out[0]", out_of(o, "eigh", 0, 2), {call.rows(0)}, content::elements, true);
    call.output("out[1]", out_of(o, "eigh", 1, 2), {call.rows(0), call.rows(0)});
    call.run(symmetric_vectors, {.can_fail = true, .in_blocks = true, .lists = true});
    return call.results(2);
}

// Real arrays where no value has an imaginary part, as NumPy has it. The caller's own arrays stay complex.
object real_results(const stack_call& call, int number, const options& o)
{
    object all = call.results(number);
    if (call.complex_found() || !o.out.is_none()) return all;
    const auto real = [](const object& array) { return object(array.attr("real").attr("copy")()); };
    if (!py::isinstance<py::tuple>(all)) return real(all);
    py::tuple kept = py::reinterpret_borrow<py::tuple>(all), parts(kept.size());
    for (std::size_t i = 0; i < kept.size(); ++i)
        parts[i] = i < static_cast<std::size_t>(number) ? real(kept[i]) : object(kept[i]);
    return parts;
}

object eigvals(const object& a, const object& out, const object& errors, const object& threads, bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    stack_call call("eigvals", o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    call.output("out", out, {call.rows(0)}, content::complex_elements, true);
    call.run(general_values, {.can_fail = true, .in_blocks = true, .lists = true});
    return real_results(call, 1, o);
}

object eig(const object& a, bool left, bool right, const object& out, const object& errors, const object& threads,
           bool copy)
{
    const options o = options_of(out, errors, threads, copy);
    if (!left && !right) return eigvals(a, out, errors, threads, copy);
    stack_call call("eig", o);
    call.input("a", a, 2);
    must_be_square(call);
    call.broadcast();
    const int number = 1 + left + right;
    const npy_intp order = call.rows(0);
    call.output("out[0]", out_of(o, "eig", 0, number), {order}, content::complex_elements, true);
    for (int i = 1; i < number; ++i)
        call.output(i == 1 ? "out[1]" : "out[2]", out_of(o, "eig", i, number), {order, order},
                    content::complex_elements, true);
    call.run(left && right ? general_vectors_both
             : left        ? left_vectors
                           : general_vectors,
             {.can_fail = true, .in_blocks = true, .lists = true});
    return real_results(call, number, o);
}

// ---- threads

void set_num_threads(int threads)
{
    if (threads < 0)
        throw py::value_error("tarnm.set_num_threads: threads must be 0 or more, not " + std::to_string(threads));
    process_threads = threads;
    tarnSetNumThreads(threads);
}

// `with _Threads(threads):` for calls of the C functions from Python.
class threads_within {
public:
    explicit threads_within(const object& threads)
        : threads_(threads_of(threads))
    {}
    void enter() { setting_.emplace(threads_); }
    void leave(const py::args&) { setting_.reset(); }

private:
    int threads_;
    std::optional<thread_setting> setting_;
};

} // namespace
} // namespace tarnm::python

PYBIND11_MODULE(_tarnm, m)
{
    using namespace tarnm::python;
    namespace py = pybind11;
    using py::arg;
    using py::kw_only;
    if (_import_array() < 0) throw py::error_already_set();
    m.attr("__version__") = TARNM_PYTHON_VERSION;
    const auto out = arg("out") = py::none();
    const auto errors = arg("errors") = py::none();
    const auto threads = arg("threads") = py::none();
    const auto copy = arg("copy") = true;
    const auto triangle = arg("UPLO") = "L";

    m.def("matmul", matmul, arg("a"), arg("b"), kw_only(), out, threads, copy,
          "a @ b for matrices (..., m, k) and (..., k, n); one axis makes a vector, as in numpy.matmul.");
    m.def("matvec", matvec, arg("a"), arg("x"), kw_only(), out, threads, copy,
          "a @ x for matrices (..., m, k) and vectors (..., k).");
    m.def("dot", dot, arg("a"), arg("b"), kw_only(), out, threads, copy, "The scalar products of vectors (..., n).");
    m.def("norm", norm, arg("a"), kw_only(), out, threads, copy, "The Euclidean lengths of vectors (..., n).");
    m.def("cross", cross, arg("a"), arg("b"), kw_only(), out, threads, copy, "The cross products of vectors (..., 3).");
    m.def("add", add, arg("a"), arg("b"), kw_only(), out, threads, copy,
          "a + b, of arrays that broadcast, or an array and a number. Works in place.");
    m.def("subtract", subtract, arg("a"), arg("b"), kw_only(), out, threads, copy,
          "a - b, of arrays that broadcast, or an array and a number. Works in place.");
    m.def("scale", scale, arg("a"), arg("c"), kw_only(), out, threads, copy, "c * a for a number c. Works in place.");
    m.def("det", det, arg("a"), kw_only(), out, threads, copy,
          "The determinants of matrices (..., n, n). A singular matrix is no failure.");
    m.def("trace", trace, arg("a"), kw_only(), out, threads, copy,
          "The sums of the diagonals of matrices (..., n, n).");
    m.def("transpose", transpose, arg("a"), kw_only(), out, threads, copy,
          "The transposes of matrices (..., m, n), in memory of their own.");
    m.def("inv", inv, arg("a"), kw_only(), out, errors, threads, copy,
          "The inverses of matrices (..., n, n). A singular matrix fails.");
    m.def("solve", solve, arg("a"), arg("b"), kw_only(), out, errors, threads, copy,
          "x with a @ x = b. b are vectors where it has one axis, or one less than a, else matrices. A singular matrix "
          "fails.");
    m.def("lstsq", lstsq, arg("a"), arg("b"), kw_only(), out, errors, threads, copy,
          "The x alone that minimises the length of a @ x - b, for a (..., m, n) with m >= n. A matrix without full "
          "rank fails.");
    m.def("lu_solve", lu_solve, arg("factors"), arg("pivots"), arg("b"), kw_only(), out, threads, copy);
    m.def("cholesky_solve", cholesky_solve, arg("lower"), arg("b"), kw_only(), out, threads, copy);
    m.def("qr_solve", qr_solve, arg("factors"), arg("b"), kw_only(), out, threads, copy);
    m.def("lu", lu, arg("a"), kw_only(), out, errors, threads, copy);
    m.def("cholesky", cholesky, arg("a"), kw_only(), out, errors, threads, copy,
          "The lower triangular l with l @ l.T = a. The lower triangle of a is read. A matrix that is not positive "
          "definite fails.");
    m.def("qr_factor", qr_factor, arg("a"), kw_only(), out, errors, threads, copy);
    m.def("qr", qr, arg("a"), kw_only(), out, errors, threads, copy,
          "Q (..., m, n) and R (..., n, n) with Q @ R = a, for a (..., m, n) with m >= n.");
    m.def("eigvalsh", eigvalsh, arg("a"), triangle, kw_only(), out, errors, threads, copy,
          "The eigenvalues of symmetric matrices (..., n, n), ascending. One triangle is read.");
    m.def(
        "eigh", eigh, arg("a"), triangle, kw_only(), out, errors, threads, copy,
        "The eigenvalues of symmetric matrices, ascending, and vectors as columns of length 1. One triangle is read.");
    m.def("eigvals", eigvals, arg("a"), kw_only(), out, errors, threads, copy,
          "The eigenvalues of matrices (..., n, n), complex where one has an imaginary part, unsorted.");
    m.def("eig", eig, arg("a"), arg("left") = false, arg("right") = true, kw_only(), out, errors, threads, copy,
          "The eigenvalues w, then left vectors where left is set, then right ones where right is set, as columns of "
          "length 1.");
    m.def("_use_wide_vectors", [](bool use) { return uses_wide_vectors = use && has_wide_vectors(); });
    py::class_<threads_within>(m, "_Threads")
        .def(py::init<py::object>())
        .def("__enter__", &threads_within::enter)
        .def("__exit__", &threads_within::leave);
    m.def("set_num_threads", set_num_threads, arg("threads"),
          "The number of threads of all calls of this process; 0 for the default.");
    m.def("get_num_threads", tarnGetNumThreads, "The number of threads that a call may use.");
}
