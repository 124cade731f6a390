// One call of a function of the package: from Python's arguments to batches for a kernel, and back to results.
//
//   stack_call call("inv", options);
//   const int a = call.input("a", object, 2);
//   call.broadcast();
//   const int x = call.output("out", object, {rows, columns});
//   return call.run(inverses, ...);
//
// The axes before those of an object are the stack; stacks broadcast as NumPy does it. A list of arrays is a stack of one
// axis. Arrays go through as they lie; one that cannot is copied, unless the caller forbids it.
#ifndef TARNM_PYTHON_STACK_CALL_H
#define TARNM_PYTHON_STACK_CALL_H

#include <Python.h>

#define PY_ARRAY_UNIQUE_SYMBOL tarnm_python_array_api
#define NPY_NO_DEPRECATED_API NPY_1_7_API_VERSION
#ifndef TARNM_PYTHON_IMPORTS_ARRAY
#define NO_IMPORT_ARRAY
#endif
#include <numpy/arrayobject.h>

#include <initializer_list>
#include <string>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "batch.h"

namespace tarnm::python {

namespace py = pybind11;

// The first and the last byte.
using byte_range = std::pair<const char*, const char*>;

struct options {
    py::object out;      // None, an array, or a tuple of arrays
    bool copy = true;    // whether arrays may be copied that cannot go through as they lie
    int threads = 0;     // 0: what the process has set
    bool report = false; // statuses instead of an exception
};

enum class content { elements, complex_elements, indices };

class stack_call {
public:
    stack_call(const char* function, const options& wanted);

    // The axes of an object: `core` at the end of the array.
    int input(const char* name, const py::object& object, int core);
    // One that the library has only with an object for each.
    void must_be_stack(int i) { inputs_[i].must_be_stack = true; }
    // May be the memory of this input.
    void may_be_result(int i) { inputs_[i].may_be_result = true; }
    // Exchanges the two last axes.
    void transpose(int i);

    int type() const { return type_; }
    npy_intp rows(int i) const;
    npy_intp columns(int i) const;
    int dimensions(int i) const;

    void require(bool condition, const std::string& reason, std::initializer_list<int> shown) const;

    void broadcast();
    int output(const char* name, const py::object& object, std::initializer_list<npy_intp> core,
               content kind = content::elements, bool packed = false);

    struct settings {
        bool can_fail = false;
        bool planar = false;
        // The kernel works block by block: threads share the objects, which the library would not do within a block.
        bool in_blocks = false;
        // The kernel takes objects that lie anywhere.
        bool lists = false;
        double number = 0;
        int core = 2;
    };
    void run(const kernel_pair& kernels, const settings& how);

    py::object result(int i) const;
    py::object statuses() const { return statuses_; }
    bool complex_found() const { return complex_found_; }
    // The results as Python sees them: the first `number`, and the statuses where they are asked for.
    py::object results(int number) const;

private:
    struct place {
        const char* name = "";
        py::object array;
        int core = 0;
        bool must_be_stack = false;
        bool may_be_result = false;
        bool packed = false;
        bool is_pivots = false;
        py::object given; // the caller's array or list, where the result has to be copied into it
        // Of a list of arrays: its items, where they begin, and `array` a view of the first one with an axis for the stack,
        // whose step means nothing.
        py::object items;
        std::vector<void*> addresses;
        bool listed() const { return !addresses.empty(); }
        PyArrayObject* get() const { return reinterpret_cast<PyArrayObject*>(array.ptr()); }
    };

    [[noreturn]] void raise(PyObject* kind, const std::string& reason) const;
    void check_type(const std::string& name, const py::object& object) const;
    void take_list(place& p, const py::object& list);
    py::object item_of(const place& p, npy_intp n) const;
    py::object stacked(const place& p) const;
    void output_list(place& p, const py::object& list, const npy_intp* shape, int dimensions);
    std::vector<byte_range> ranges_of(const place& p) const;
    void dissolve_lists(const settings& how);
    bool can_list() const;
    void walk_list(kernel compute, batch& work, const settings& how);
    void copy_input(place& p, bool whole_stack);
    void separate_from_results();
    bool usable(const place& p) const;
    operand operand_of(const place& p) const;
    void report_failures(npy_intp failures);
    void walk(const kernel_pair& kernels, const settings& how);

    const char* function_;
    const options& options_;
    place inputs_[3];
    place outputs_[3];
    int number_of_inputs_ = 0;
    int number_of_outputs_ = 0;
    int type_ = -1;
    int dimensions_ = 0;
    npy_intp shape_[NPY_MAXDIMS];
    npy_intp objects_ = 1;
    npy_intp failures_ = 0;
    bool complex_found_ = false;
    py::object statuses_;
    friend struct walker;
};

bool is_list(const py::object& object);
std::string shape_text(PyArrayObject* array);

} // namespace tarnm::python

#endif
