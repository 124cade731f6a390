#include "stack_call.h"

#include <algorithm>
#include <cstdint>
#include <exception>
#include <vector>

#include <tarncore/tarncore.h>
#include <tarnm/detail/error.h>

#include "blocks.h"
#include "threads.h"

namespace tarnm::python {
namespace {

PyArrayObject* array_of(const py::object& object) { return reinterpret_cast<PyArrayObject*>(object.ptr()); }

py::object stolen(PyObject* object)
{
    if (object == nullptr) throw py::error_already_set();
    return py::reinterpret_steal<py::object>(object);
}

std::string text_of(const npy_intp* shape, int dimensions)
{
    std::string text = "(";
    for (int i = 0; i < dimensions; ++i)
        text += (i == 0 ? "" : ", ") + std::to_string(shape[i]);
    return text + (dimensions == 1 ? ",)" : ")");
}

int type_of(content kind, int type)
{
    if (kind == content::indices) return NPY_INT32;
    if (kind == content::complex_elements) return type == NPY_FLOAT ? NPY_CFLOAT : NPY_CDOUBLE;
    return type;
}

std::string type_text(PyArrayObject* array)
{
    return py::str(py::reinterpret_borrow<py::object>(reinterpret_cast<PyObject*>(PyArray_DESCR(array))))
        .cast<std::string>();
}

// The lowest and the highest byte of an array.
std::pair<const char*, const char*> bytes_of(PyArrayObject* array)
{
    const char* low = PyArray_BYTES(array);
    const char* high = low + PyArray_ITEMSIZE(array) - 1;
    for (int i = 0; i < PyArray_NDIM(array); ++i) {
        const npy_intp reach = (PyArray_DIM(array, i) - 1) * PyArray_STRIDE(array, i);
        if (PyArray_DIM(array, i) == 0) return {nullptr, nullptr};
        (reach < 0 ? low : high) += reach;
    }
    return {low, high};
}

// Whether a range of one meets a range of the other. They get sorted.
bool overlap(std::vector<byte_range>& a, std::vector<byte_range>& b)
{
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    for (auto x = a.begin(), y = b.begin(); x != a.end() && y != b.end();) {
        if (x->first <= y->second && y->first <= x->second) return true;
        if (x->second < y->second)
            ++x;
        else
            ++y;
    }
    return false;
}

bool same_places(PyArrayObject* a, PyArrayObject* b)
{
    if (PyArray_BYTES(a) != PyArray_BYTES(b) || PyArray_NDIM(a) != PyArray_NDIM(b)) return false;
    for (int i = 0; i < PyArray_NDIM(a); ++i)
        if (PyArray_DIM(a, i) != PyArray_DIM(b, i) ||
            (PyArray_DIM(a, i) > 1 && PyArray_STRIDE(a, i) != PyArray_STRIDE(b, i)))
            return false;
    return true;
}

constexpr npy_intp largest_stride = INT32_MAX;

} // namespace

std::string shape_text(PyArrayObject* array) { return text_of(PyArray_DIMS(array), PyArray_NDIM(array)); }

stack_call::stack_call(const char* function, const options& wanted)
    : function_(function)
    , options_(wanted)
{}

void stack_call::raise(PyObject* kind, const std::string& reason) const
{
    PyErr_SetString(kind, ("tarnm." + std::string(function_) + ": " + reason).c_str());
    throw py::error_already_set();
}

bool is_list(const py::object& object) { return PyList_Check(object.ptr()) || PyTuple_Check(object.ptr()); }

void stack_call::check_type(const std::string& name, const py::object& object) const
{
    if (!PyArray_Check(object.ptr()))
        raise(PyExc_TypeError, name + " must be an array of float32 or float64, not " + Py_TYPE(object.ptr())->tp_name);
    PyArrayObject* const array = array_of(object);
    const int type = PyArray_TYPE(array);
    if ((type != NPY_FLOAT && type != NPY_DOUBLE) || PyArray_ISBYTESWAPPED(array))
        raise(PyExc_TypeError, name + " must be an array of float32 or float64, not of " + type_text(array));
}

// The items of a list are objects without a stack, of one type and shape. Where they have one set of strides, too, they are
// taken as they lie; else they are copied into a stack.
void stack_call::take_list(place& p, const py::object& list)
{
    const py::list items(list);
    const std::string name = p.name;
    if (items.empty()) raise(PyExc_ValueError, name + " is an empty list");
    bool alike = true;
    PyArrayObject* first = nullptr;
    for (std::size_t n = 0; n < items.size(); ++n) {
        const std::string item_name = name + "[" + std::to_string(n) + "]";
        const py::object item = items[n];
        check_type(item_name, item);
        PyArrayObject* const array = array_of(item);
        if (n == 0) first = array;
        if (PyArray_TYPE(array) != PyArray_TYPE(first))
            raise(PyExc_TypeError,
                  item_name + " is of " + type_text(array) + ", " + name + "[0] of " + type_text(first));
        if (PyArray_NDIM(array) != p.core)
            raise(PyExc_ValueError, item_name + " with shape " + shape_text(array) + " must have " +
                                        std::to_string(p.core) + (p.core == 1 ? " axis" : " axes") +
                                        ", as an item of a list");
        if (!std::equal(PyArray_DIMS(array), PyArray_DIMS(array) + p.core, PyArray_DIMS(first)))
            raise(PyExc_ValueError,
                  item_name + " has shape " + shape_text(array) + ", " + name + "[0] has shape " + shape_text(first));
        for (int axis = 0; axis < p.core; ++axis)
            alike =
                alike && (PyArray_DIM(array, axis) <= 1 || PyArray_STRIDE(array, axis) == PyArray_STRIDE(first, axis));
        p.addresses.push_back(PyArray_DATA(array));
    }
    npy_intp shape[3] = {static_cast<npy_intp>(items.size())}, strides[3] = {0};
    std::copy_n(PyArray_DIMS(first), p.core, shape + 1);
    std::copy_n(PyArray_STRIDES(first), p.core, strides + 1);
    p.items = list;
    p.array = stolen(PyArray_New(&PyArray_Type, p.core + 1, shape, PyArray_TYPE(first), strides, PyArray_DATA(first), 0,
                                 NPY_ARRAY_WRITEABLE, nullptr));
    if (alike && usable(p)) return;
    p.addresses.clear();
    if (!options_.copy)
        raise(PyExc_ValueError, name +
                                    " is a list of arrays whose strides differ or cannot pass; they would have to be "
                                    "copied, which copy=False forbids");
    p.array = py::module_::import("numpy").attr("stack")(list);
}

// A view of object n of a list.
py::object stack_call::item_of(const place& p, npy_intp n) const
{
    return stolen(PyArray_New(&PyArray_Type, p.core, PyArray_DIMS(p.get()) + 1, PyArray_TYPE(p.get()),
                              PyArray_STRIDES(p.get()) + 1, p.addresses[static_cast<std::size_t>(n)], 0,
                              NPY_ARRAY_WRITEABLE, nullptr));
}

// The objects of a list in an array of its own.
py::object stack_call::stacked(const place& p) const
{
    const py::object full = stolen(PyArray_SimpleNew(p.core + 1, PyArray_DIMS(p.get()), PyArray_TYPE(p.get())));
    for (npy_intp n = 0; n < PyArray_DIM(p.get(), 0); ++n)
        full[py::int_(n)] = item_of(p, n);
    return full;
}

int stack_call::input(const char* name, const py::object& object, int core)
{
    place& p = inputs_[number_of_inputs_];
    p.name = name;
    p.core = core;
    if (is_list(object)) {
        take_list(p, object);
    } else {
        p.is_pivots = name == std::string_view("pivots") && PyArray_Check(object.ptr()) &&
                      PyArray_TYPE(array_of(object)) == NPY_INT32;
        if (!p.is_pivots) check_type(name, object);
        p.array = object;
    }
    PyArrayObject* const array = p.get();
    const int type = PyArray_TYPE(array);
    if (!p.is_pivots && number_of_inputs_ > 0 && type != type_)
        raise(PyExc_TypeError, std::string(name) + " is of " + type_text(array) + ", " + inputs_[0].name + " of " +
                                   type_text(inputs_[0].get()) + "; both must be of one type");
    if (PyArray_NDIM(array) < core)
        raise(PyExc_ValueError, std::string(name) + " with shape " + shape_text(array) + " needs at least " +
                                    std::to_string(core) + (core == 1 ? " axis" : " axes"));
    if (number_of_inputs_ == 0) type_ = type;
    for (int i = PyArray_NDIM(array) - core; i < PyArray_NDIM(array); ++i)
        if (PyArray_DIM(array, i) == 0)
            raise(PyExc_ValueError,
                  std::string(name) + " with shape " + shape_text(array) + " has objects without elements");
    return number_of_inputs_++;
}

void stack_call::transpose(int i)
{
    place& p = inputs_[i];
    p.array = stolen(PyArray_SwapAxes(p.get(), PyArray_NDIM(p.get()) - 2, PyArray_NDIM(p.get()) - 1));
}

npy_intp stack_call::columns(int i) const
{
    PyArrayObject* const array = inputs_[i].get();
    return PyArray_DIM(array, PyArray_NDIM(array) - 1);
}

npy_intp stack_call::rows(int i) const
{
    PyArrayObject* const array = inputs_[i].get();
    return PyArray_DIM(array, PyArray_NDIM(array) - 2);
}

int stack_call::dimensions(int i) const { return PyArray_NDIM(inputs_[i].get()); }

void stack_call::require(bool condition, const std::string& reason, std::initializer_list<int> shown) const
{
    if (condition) return;
    std::string shapes;
    for (const int i : shown)
        shapes +=
            (shapes.empty() ? "" : ", ") + std::string(inputs_[i].name) + " has shape " + shape_text(inputs_[i].get());
    raise(PyExc_ValueError, reason + ": " + shapes);
}

void stack_call::broadcast()
{
    for (int i = 0; i < number_of_inputs_; ++i)
        dimensions_ = std::max(dimensions_, PyArray_NDIM(inputs_[i].get()) - inputs_[i].core);
    std::fill_n(shape_, dimensions_, 1);
    for (int i = 0; i < number_of_inputs_; ++i) {
        PyArrayObject* const array = inputs_[i].get();
        const int own = PyArray_NDIM(array) - inputs_[i].core;
        for (int axis = 0; axis < own; ++axis) {
            npy_intp& size = shape_[dimensions_ - own + axis];
            const npy_intp given = PyArray_DIM(array, axis);
            if (size == 1)
                size = given;
            else if (given != 1 && given != size) {
                std::string shapes;
                for (int k = 0; k < number_of_inputs_; ++k)
                    shapes += (k == 0 ? "" : ", ") + std::string(inputs_[k].name) + " has shape " +
                              shape_text(inputs_[k].get());
                raise(PyExc_ValueError, "stacks do not broadcast: " + shapes);
            }
        }
    }
    for (int axis = 0; axis < dimensions_; ++axis)
        objects_ *= shape_[axis];
}

bool stack_call::usable(const place& p) const
{
    PyArrayObject* const array = p.get();
    const int dimensions = PyArray_NDIM(array), stack = dimensions - p.core;
    const npy_intp size = PyArray_ITEMSIZE(array);
    if (p.packed || p.is_pivots) {
        if (!PyArray_IS_C_CONTIGUOUS(array) || !PyArray_ISALIGNED(array)) return false;
    }
    for (int axis = 0; axis < dimensions; ++axis) {
        if (PyArray_DIM(array, axis) <= 1 || (p.listed() && axis < stack)) continue;
        const npy_intp stride = PyArray_STRIDE(array, axis);
        const bool repeats = stride == 0 && axis < stack && !p.must_be_stack && !p.packed;
        if (!repeats && (stride < size || stride % size != 0 || stride > largest_stride)) return false;
    }
    return true;
}

void stack_call::copy_input(place& p, bool whole_stack)
{
    if (!options_.copy)
        raise(PyExc_ValueError, std::string(p.name) + " with shape " + shape_text(p.get()) +
                                    " would have to be copied, which copy=False forbids");
    if (p.listed()) {
        p.array = stacked(p);
        p.addresses.clear();
        if (!whole_stack) return;
    }
    if (!whole_stack) {
        p.array = stolen(PyArray_NewCopy(p.get(), NPY_CORDER));
        return;
    }
    npy_intp shape[NPY_MAXDIMS];
    std::copy_n(shape_, dimensions_, shape);
    const int own = PyArray_NDIM(p.get());
    std::copy_n(PyArray_DIMS(p.get()) + own - p.core, p.core, shape + dimensions_);
    py::object full = stolen(PyArray_SimpleNew(dimensions_ + p.core, shape, PyArray_TYPE(p.get())));
    if (PyArray_CopyInto(array_of(full), p.get()) < 0) throw py::error_already_set();
    p.array = std::move(full);
}

int stack_call::output(const char* name, const py::object& object, std::initializer_list<npy_intp> core, content kind,
                       bool packed)
{
    place& p = outputs_[number_of_outputs_];
    p.name = name;
    p.core = static_cast<int>(core.size());
    p.packed = packed;
    npy_intp shape[NPY_MAXDIMS];
    std::copy_n(shape_, dimensions_, shape);
    std::copy(core.begin(), core.end(), shape + dimensions_);
    const int dimensions = dimensions_ + p.core, type = type_of(kind, type_);
    if (object.is_none()) {
        p.array = stolen(PyArray_SimpleNew(dimensions, shape, type));
        return number_of_outputs_++;
    }
    if (is_list(object) && p.core > 0 && kind == content::elements) {
        output_list(p, object, shape, dimensions);
        return number_of_outputs_++;
    }
    if (!PyArray_Check(object.ptr()))
        raise(PyExc_TypeError, std::string(name) + " must be an array, not " + Py_TYPE(object.ptr())->tp_name);
    PyArrayObject* const array = array_of(object);
    if (PyArray_TYPE(array) != type || PyArray_ISBYTESWAPPED(array)) {
        const py::object wanted = stolen(reinterpret_cast<PyObject*>(PyArray_DescrFromType(type)));
        raise(PyExc_TypeError, std::string(name) + " is of " + type_text(array) + ", the result is of " +
                                   py::str(wanted).cast<std::string>());
    }
    if (PyArray_NDIM(array) != dimensions || !std::equal(shape, shape + dimensions, PyArray_DIMS(array)))
        raise(PyExc_ValueError, std::string(name) + " has shape " + shape_text(array) + ", the result has shape " +
                                    text_of(shape, dimensions));
    if (!PyArray_ISWRITEABLE(array)) raise(PyExc_ValueError, std::string(name) + " is read-only");
    p.array = object;
    p.must_be_stack = true;
    if (!usable(p)) {
        if (!options_.copy)
            raise(PyExc_ValueError, std::string(name) + " with shape " + shape_text(array) +
                                        " would have to be written by a copy, which copy=False forbids");
        p.given = object;
        p.array = stolen(PyArray_SimpleNew(dimensions, shape, type));
    }
    return number_of_outputs_++;
}

// A list for results, whose items are those of a stack of one axis.
void stack_call::output_list(place& p, const py::object& list, const npy_intp* shape, int dimensions)
{
    for (const py::handle item : py::list(list)) {
        if (!PyArray_Check(item.ptr()))
            raise(PyExc_TypeError, std::string(p.name) + " must be an array, or a list of arrays");
        if (!PyArray_ISWRITEABLE(reinterpret_cast<PyArrayObject*>(item.ptr())))
            raise(PyExc_ValueError, std::string(p.name) + " holds an array that is read-only");
    }
    take_list(p, list);
    if (PyArray_TYPE(p.get()) != type_)
        raise(PyExc_TypeError,
              std::string(p.name) + " is of " + type_text(p.get()) + ", the result is of another type");
    if (PyArray_NDIM(p.get()) != dimensions || !std::equal(shape, shape + dimensions, PyArray_DIMS(p.get())))
        raise(PyExc_ValueError, std::string(p.name) + " has shape " + shape_text(p.get()) + ", the result has shape " +
                                    text_of(shape, dimensions));
    p.must_be_stack = true;
    if (p.listed()) return;
    // Its arrays cannot be written as they lie.
    p.given = list;
}

bool stack_call::can_list() const
{
    if (dimensions_ != 1) return false;
    for (int i = 0; i < number_of_inputs_; ++i) {
        const place& p = inputs_[i];
        const bool single = PyArray_NDIM(p.get()) == p.core;
        if (single && p.must_be_stack) return false;
        if (!single && PyArray_DIM(p.get(), 0) != objects_) return false;
    }
    return true;
}

// Lists become stacks where the call cannot take them as they are.
void stack_call::dissolve_lists(const settings& how)
{
    bool any = false;
    for (int k = 0; k < 3; ++k)
        any = any || inputs_[k].listed() || outputs_[k].listed();
    // One object is taken where it lies, as by itself.
    if (!any || objects_ == 1 || (how.lists && can_list())) return;
    for (int i = 0; i < number_of_inputs_; ++i)
        if (inputs_[i].listed()) copy_input(inputs_[i], false);
    for (int o = 0; o < number_of_outputs_; ++o) {
        place& p = outputs_[o];
        if (!p.listed()) continue;
        if (!options_.copy)
            raise(PyExc_ValueError,
                  std::string(p.name) + " would have to be written by a copy, which copy=False forbids");
        p.given = p.items;
        p.addresses.clear();
        p.array = stolen(PyArray_SimpleNew(PyArray_NDIM(p.get()), PyArray_DIMS(p.get()), type_));
    }
}

std::vector<byte_range> stack_call::ranges_of(const place& p) const
{
    if (!p.listed()) return {bytes_of(p.get())};
    const auto [low, high] = bytes_of(p.get());
    const char* const first = PyArray_BYTES(p.get());
    std::vector<byte_range> ranges;
    for (void* const address : p.addresses)
        ranges.emplace_back(static_cast<char*>(address) + (low - first), static_cast<char*>(address) + (high - first));
    return ranges;
}

// Results are written while inputs are read: an input that shares memory with a result is read from a copy.
void stack_call::separate_from_results()
{
    for (int o = 0; o < number_of_outputs_; ++o) {
        // New memory is nobody's.
        if (outputs_[o].given || !outputs_[o].must_be_stack || PyArray_SIZE(outputs_[o].get()) == 0) continue;
        std::vector<byte_range> written = ranges_of(outputs_[o]);
        for (int i = 0; i < number_of_inputs_; ++i) {
            place& p = inputs_[i];
            if (PyArray_SIZE(p.get()) == 0) continue;
            std::vector<byte_range> read = ranges_of(p);
            if (!overlap(read, written)) continue;
            if (p.may_be_result && p.addresses == outputs_[o].addresses && same_places(outputs_[o].get(), p.get()))
                continue;
            copy_input(p, false);
        }
    }
}

operand stack_call::operand_of(const place& p) const
{
    PyArrayObject* const array = p.get();
    const int dimensions = PyArray_NDIM(array);
    const npy_intp size = PyArray_ITEMSIZE(array);
    operand o;
    o.data = PyArray_DATA(array);
    o.element = size;
    if (p.core >= 1) {
        o.columns = PyArray_DIM(array, dimensions - 1);
        if (o.columns > 1) o.element = PyArray_STRIDE(array, dimensions - 1);
    }
    o.row = o.columns * size;
    if (p.core >= 2) {
        o.rows = PyArray_DIM(array, dimensions - 2);
        if (o.rows > 1) o.row = PyArray_STRIDE(array, dimensions - 2);
    }
    return o;
}

// The axes of the stack, merged where all operands step through two of them as through one.
struct walker {
    static constexpr int most = 6;
    npy_intp sizes[NPY_MAXDIMS];
    npy_intp steps[NPY_MAXDIMS][most];
    int axes = 0;

    void add(npy_intp size, const npy_intp (&step)[most], int operands)
    {
        if (axes > 0) {
            bool merges = true;
            for (int k = 0; k < operands; ++k)
                merges = merges && step[k] == steps[axes - 1][k] * sizes[axes - 1];
            if (merges) {
                sizes[axes - 1] *= size;
                return;
            }
        }
        sizes[axes] = size;
        std::copy_n(step, most, steps[axes]);
        ++axes;
    }
};

namespace {

// Threads share the objects of a batch. The library takes one thread for what it is called for within.
std::ptrdiff_t compute_in_parts(kernel compute, const batch& work, int threads)
{
    std::vector<std::ptrdiff_t> results(static_cast<std::size_t>(threads));
    std::exception_ptr thrown;
    bool complex_found = false;
#pragma omp parallel for num_threads(threads) reduction(|| : complex_found)
    for (int i = 0; i < threads; ++i) {
        const std::ptrdiff_t first = work.count * i / threads, end = work.count * (i + 1) / threads;
        const batch part = part_of(work, first, end - first);
        try {
            results[static_cast<std::size_t>(i)] = compute(part);
        } catch (...) {
#pragma omp critical(tarnm_python_thrown)
            thrown = std::current_exception();
        }
        complex_found = complex_found || part.complex_found;
    }
    if (thrown) std::rethrow_exception(thrown);
    work.complex_found = work.complex_found || complex_found;
    std::ptrdiff_t failures = 0;
    for (const std::ptrdiff_t one : results) {
        if (one < 0) return one;
        failures += one;
    }
    return failures;
}

// So many threads are worth while.
int threads_for(const batch& work)
{
    constexpr std::ptrdiff_t objects_of_a_thread = 200;
    const std::ptrdiff_t most = work.count / objects_of_a_thread;
    return most < 2 ? 1 : static_cast<int>(std::min<std::ptrdiff_t>(most, tarnGetNumThreads()));
}

} // namespace

// One call for operands of which some are lists: every object has an address.
void stack_call::walk_list(kernel compute, batch& work, const settings& how)
{
    const auto count = static_cast<std::size_t>(objects_);
    std::vector<void*> tables[6];
    int next = 0;
    const auto take = [&](const place& p, operand& o) {
        o = operand_of(p);
        o.many = PyArray_NDIM(p.get()) > p.core;
        o.object = o.many ? PyArray_STRIDE(p.get(), 0) : o.rows * o.columns * PyArray_ITEMSIZE(p.get());
        // Numbers, pivots and statuses lie one behind the other in every layout.
        if (!o.many || p.packed || p.is_pivots) return;
        std::vector<void*>& table = tables[next++];
        table = p.addresses;
        for (std::size_t n = table.size(); n < count; ++n)
            table.push_back(static_cast<char*>(o.data) + static_cast<std::ptrdiff_t>(n) * o.object);
        o.table = table.data();
    };
    for (int i = 0; i < number_of_inputs_; ++i)
        take(inputs_[i], work.in[i]);
    for (int o = 0; o < number_of_outputs_; ++o)
        take(outputs_[o], work.out[o]);
    work.count = objects_;
    work.listed = true;
    if (how.can_fail) work.statuses = static_cast<tarnmStatus*>(PyArray_DATA(array_of(statuses_)));
    const int threads = how.in_blocks ? threads_for(work) : 1;
    failures_ = threads > 1 ? compute_in_parts(compute, work, threads) : compute(work);
    complex_found_ = work.complex_found;
}

void stack_call::walk(const kernel_pair& kernels, const settings& how)
{
    const int operands = number_of_inputs_ + number_of_outputs_;
    const kernel compute = type_ == NPY_FLOAT ? kernels.single : kernels.wide;
    batch work;
    work.number = how.number;
    work.core = how.core;
    for (const place* places : {inputs_, outputs_})
        for (int k = 0; k < 3; ++k)
            if (places[k].listed() && objects_ > 1) return walk_list(compute, work, how);
    walker stack;
    {
        place* places[walker::most];
        for (int k = 0; k < operands; ++k)
            places[k] = k < number_of_inputs_ ? &inputs_[k] : &outputs_[k - number_of_inputs_];
        for (int axis = dimensions_ - 1; axis >= 0; --axis) {
            if (shape_[axis] == 1) continue;
            npy_intp step[walker::most] = {};
            for (int k = 0; k < operands; ++k) {
                PyArrayObject* const array = places[k]->get();
                const int own = PyArray_NDIM(array) - places[k]->core - dimensions_ + axis;
                if (own >= 0 && PyArray_DIM(array, own) > 1) step[k] = PyArray_STRIDE(array, own);
            }
            stack.add(shape_[axis], step, operands);
        }
    }
    operand* items[walker::most];
    for (int k = 0; k < operands; ++k) {
        const bool is_input = k < number_of_inputs_;
        operand& o = is_input ? work.in[k] : work.out[k - number_of_inputs_];
        o = operand_of(is_input ? inputs_[k] : outputs_[k - number_of_inputs_]);
        items[k] = &o;
    }
    // The innermost axis is one call. Where no input steps along it, every object of it is a call of its own.
    bool inner = stack.axes > 0;
    if (inner) {
        bool steps = false;
        for (int k = 0; k < number_of_inputs_; ++k)
            steps = steps || stack.steps[0][k] != 0;
        inner = steps;
    }
    const int first_outer = inner ? 1 : 0;
    work.count = inner ? stack.sizes[0] : 1;
    for (int k = 0; k < operands; ++k) {
        items[k]->many = !inner || k >= number_of_inputs_ || stack.steps[0][k] != 0;
        items[k]->object = inner && stack.steps[0][k] != 0 ? stack.steps[0][k] : items[k]->rows * items[k]->columns * 8;
    }
    tarnmStatus* const statuses = how.can_fail ? static_cast<tarnmStatus*>(PyArray_DATA(array_of(statuses_))) : nullptr;

    // The places of the first elements of a planar batch.
    std::vector<void*> tables;
    if (how.planar && inner && work.count >= 8) {
        const npy_intp size = type_ == NPY_FLOAT ? 4 : 8;
        bool planar = true, any = false;
        std::size_t elements = 0;
        for (int k = 0; k < operands; ++k) {
            const operand& o = *items[k];
            if (k >= number_of_inputs_ && outputs_[k - number_of_inputs_].packed) continue;
            if (o.many) planar = planar && o.object == size;
            any = any || (o.many && o.object == size && o.element != size);
            elements += static_cast<std::size_t>(o.rows * o.columns);
        }
        if (planar && any) {
            work.planar = true;
            tables.resize(elements);
        }
    }

    npy_intp index[NPY_MAXDIMS] = {};
    npy_intp done = 0;
    bool complex_found = false;
    for (;;) {
        work.statuses = statuses == nullptr ? nullptr : statuses + done;
        if (work.planar) {
            void** next = tables.data();
            for (int k = 0; k < operands; ++k) {
                operand& o = *items[k];
                if (k >= number_of_inputs_ && outputs_[k - number_of_inputs_].packed) continue;
                o.table = next;
                for (std::ptrdiff_t r = 0; r < o.rows; ++r)
                    for (std::ptrdiff_t c = 0; c < o.columns; ++c)
                        *next++ = static_cast<char*>(o.data) + r * o.row + c * o.element;
            }
        }
        // Planes are shared by the library alone.
        const int threads = how.in_blocks && !work.planar ? threads_for(work) : 1;
        const std::ptrdiff_t failures = threads > 1 ? compute_in_parts(compute, work, threads) : compute(work);
        complex_found = complex_found || work.complex_found;
        if (failures < 0) {
            failures_ = failures;
            return;
        }
        failures_ += failures;
        done += work.count;
        int axis = first_outer;
        for (; axis < stack.axes; ++axis) {
            const bool wraps = ++index[axis] == stack.sizes[axis];
            const npy_intp moves = wraps ? 1 - stack.sizes[axis] : 1;
            for (int k = 0; k < operands; ++k)
                items[k]->data = static_cast<char*>(items[k]->data) + moves * stack.steps[axis][k];
            if (!wraps) break;
            index[axis] = 0;
        }
        if (axis == stack.axes) break;
    }
    complex_found_ = complex_found;
}

void stack_call::run(const kernel_pair& kernels, const settings& how)
{
    dissolve_lists(how);
    for (int i = 0; i < number_of_inputs_; ++i) {
        place& p = inputs_[i];
        const bool whole = p.must_be_stack && PyArray_SIZE(p.get()) != 0 && objects_ > 1 &&
                           (PyArray_NDIM(p.get()) - p.core != dimensions_ ||
                            !std::equal(shape_, shape_ + dimensions_, PyArray_DIMS(p.get())));
        if (whole || !usable(p)) copy_input(p, whole);
    }
    separate_from_results();
    if (how.can_fail) {
        statuses_ = stolen(PyArray_SimpleNew(dimensions_, shape_, NPY_INT32));
    }
    if (objects_ > 0) {
        const thread_setting threads(options_.threads);
        const py::gil_scoped_release released;
        walk(kernels, how);
    }
    if (failures_ < 0)
        raise(PyExc_ValueError, std::string(status_text(static_cast<tarnmStatus>(failures_))) + " (" +
                                    status_name(static_cast<tarnmStatus>(failures_)) + ")");
    for (int o = 0; o < number_of_outputs_; ++o) {
        place& p = outputs_[o];
        if (!p.given) continue;
        if (is_list(p.given)) {
            const py::object all = p.array;
            for (npy_intp n = 0; n < objects_; ++n)
                p.given[py::int_(n)][py::ellipsis()] = all[py::int_(n)];
            continue;
        }
        if (PyArray_CopyInto(array_of(p.given), p.get()) < 0) throw py::error_already_set();
        p.array = p.given;
    }
    if (failures_ > 0 && !options_.report) report_failures(failures_);
}

void stack_call::report_failures(npy_intp failures)
{
    const auto* const statuses = static_cast<const tarnmStatus*>(PyArray_DATA(array_of(statuses_)));
    npy_intp first = 0;
    while (statuses[first] == StatusOk)
        ++first;
    npy_intp index[NPY_MAXDIMS], rest = first;
    for (int axis = dimensions_ - 1; axis >= 0; --axis) {
        index[axis] = rest % shape_[axis];
        rest /= shape_[axis];
    }
    const tarnmStatus status = statuses[first];
    std::string text = std::string(inputs_[0].name) + " with shape " + shape_text(inputs_[0].get()) + ": ";
    if (dimensions_ > 0) text += "at index " + text_of(index, dimensions_) + " ";
    text += std::string(status_text(status)) + " (" + status_name(status) + ")";
    if (objects_ > 1) text += "; " + std::to_string(failures) + " of " + std::to_string(objects_) + " failed";
    raise(py::module_::import("numpy.linalg").attr("LinAlgError").ptr(), text);
}

py::object stack_call::result(int i) const
{
    if (outputs_[i].items) return outputs_[i].items;
    if (PyArray_NDIM(outputs_[i].get()) > 0) return outputs_[i].array;
    // A number in place of an array without axes, but not in place of the caller's own.
    if (outputs_[i].must_be_stack) return outputs_[i].array;
    py::object kept = outputs_[i].array;
    return stolen(PyArray_Return(reinterpret_cast<PyArrayObject*>(kept.release().ptr())));
}

py::object stack_call::results(int number) const
{
    if (number == 1 && !options_.report) return result(0);
    py::tuple all(static_cast<std::size_t>(number + (options_.report ? 1 : 0)));
    for (int i = 0; i < number; ++i)
        all[static_cast<std::size_t>(i)] = result(i);
    if (options_.report) all[static_cast<std::size_t>(number)] = statuses_;
    return all;
}

} // namespace tarnm::python
