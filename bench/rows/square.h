// Order and type of a row's square matrices, and their packed strides in bytes.
#pragma once

#include <string>

#include "harness/row.h"

namespace bench {

template <class Element, int matrixOrder> struct Square {
    using T = Element;
    static constexpr int order = matrixOrder, size = order * order, element = sizeof(T), row = order * element,
                         object = size * element;
    static std::string name() { return std::to_string(order) + "/" + typeName<T>(); }
};

} // namespace bench
