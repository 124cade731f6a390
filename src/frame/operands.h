// Operand views: where the elements of a caller's vectors, matrices and constants lie.
//
//   Spacing                      dense (element stride known at compile time) or strided
//   loadElement, storeElement    access at any address, aligned or not
//   StridedVector, StridedMatrix one object at a base pointer with byte strides
//   ScatteredVector, ScatteredMatrix
//                                one object given by a table of pointers, one per element
//   Constant                     one value that stands for every element
//   Transposed                   a matrix view with rows and columns exchanged while reading
//   Single                       one object that serves every object number
//   ObjectArray                  objects at a fixed byte distance (strided or scattered)
//   ObjectList                   objects at the pointers of a table
//   ConstantArray, ConstantList  one constant per object
//   isObjectArray, isDense       kinds of operands
//   isPacked                     whether there are no gaps between elements
//   Place                        which objects of the call a kernel is to work on
//
// A view never owns or copies. An array view maps an object number of the whole call to an object view;
// an object view maps (r, c) or k to an element. Kernels see only these two steps and no layout.
// All strides and shifts count bytes; all address arithmetic is done at pointer width.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace tarnm {

// Callers promise no alignment, not even that of the element, and may have stored the bytes through another type.
template <class T> struct [[gnu::packed, gnu::may_alias]] UnalignedElement { T value; };

template <class T> inline T loadElement(const T* address)
{
    return reinterpret_cast<const UnalignedElement<T>*>(address)->value;
}

template <class T> inline void storeElement(T* address, T value)
{
    reinterpret_cast<UnalignedElement<T>*>(address)->value = value;
}

template <class T> inline T* moved(T* pointer, std::ptrdiff_t bytes)
{
    using Byte = std::conditional_t<std::is_const_v<T>, const char, char>;
    return reinterpret_cast<T*>(reinterpret_cast<Byte*>(pointer) + bytes);
}

enum class Spacing { dense, strided };

// Distance of neighbouring elements: a constant where the caller's element stride equals the element size.
template <class T, Spacing spacing> struct ElementStride {
    std::ptrdiff_t bytes;
};
template <class T> struct ElementStride<T, Spacing::dense> {
    static constexpr std::ptrdiff_t bytes = sizeof(T);
};

template <class T, Spacing spacing> struct StridedVector {
    using Pointee = T;
    using Element = std::remove_const_t<T>;
    static constexpr bool isDense = spacing == Spacing::dense;

    T* base;
    [[no_unique_address]] ElementStride<T, spacing> elementStride;

    T* address(std::ptrdiff_t k) const { return moved(base, k * elementStride.bytes); }
    Element operator[](std::ptrdiff_t k) const { return loadElement<Element>(address(k)); }
    void set(std::ptrdiff_t k, Element value) const { storeElement<Element>(address(k), value); }

    StridedVector shifted(std::ptrdiff_t bytes) const { return {moved(base, bytes), elementStride}; }
    StridedVector at(T* newBase) const { return {newBase, elementStride}; }
};

template <class T, Spacing spacing> struct StridedMatrix {
    using Pointee = T;
    using Element = std::remove_const_t<T>;
    static constexpr bool isDense = spacing == Spacing::dense;

    T* base;
    std::ptrdiff_t rowStride;
    [[no_unique_address]] ElementStride<T, spacing> elementStride;

    T* address(std::ptrdiff_t r, std::ptrdiff_t c) const
    {
        return moved(base, r * rowStride + c * elementStride.bytes);
    }
    Element operator()(std::ptrdiff_t r, std::ptrdiff_t c) const { return loadElement<Element>(address(r, c)); }
    void set(std::ptrdiff_t r, std::ptrdiff_t c, Element value) const { storeElement<Element>(address(r, c), value); }

    StridedVector<T, spacing> row(std::ptrdiff_t r) const { return {moved(base, r * rowStride), elementStride}; }
    StridedMatrix shifted(std::ptrdiff_t bytes) const { return {moved(base, bytes), rowStride, elementStride}; }
    StridedMatrix at(T* newBase) const { return {newBase, rowStride, elementStride}; }
};

// The table describes one object; `shift` carries the caller's roi shift and the distance of the object.
template <class T> struct ScatteredVector {
    using Pointee = T;
    using Element = std::remove_const_t<T>;

    T* const* table;
    std::ptrdiff_t shift;

    T* address(std::ptrdiff_t k) const { return moved(loadElement<T*>(table + k), shift); }
    Element operator[](std::ptrdiff_t k) const { return loadElement<Element>(address(k)); }
    void set(std::ptrdiff_t k, Element value) const { storeElement<Element>(address(k), value); }

    ScatteredVector shifted(std::ptrdiff_t bytes) const { return {table, shift + bytes}; }
};

// `width` is the number of columns as stored: the table runs row by row.
template <class T> struct ScatteredMatrix {
    using Pointee = T;
    using Element = std::remove_const_t<T>;

    T* const* table;
    std::ptrdiff_t shift;
    std::ptrdiff_t width;

    T* address(std::ptrdiff_t r, std::ptrdiff_t c) const
    {
        return moved(loadElement<T*>(table + r * width + c), shift);
    }
    Element operator()(std::ptrdiff_t r, std::ptrdiff_t c) const { return loadElement<Element>(address(r, c)); }
    void set(std::ptrdiff_t r, std::ptrdiff_t c, Element value) const { storeElement<Element>(address(r, c), value); }

    ScatteredMatrix shifted(std::ptrdiff_t bytes) const { return {table, shift + bytes, width}; }
};

template <class T> struct Constant {
    using Element = T;

    T value;

    T operator[](std::ptrdiff_t) const { return value; }
    T operator()(std::ptrdiff_t, std::ptrdiff_t) const { return value; }
};

// The operation sees (r, c) where the caller stored (c, r). Nothing is copied.
template <class Matrix> struct Transposed {
    using Pointee = typename Matrix::Pointee;
    using Element = typename Matrix::Element;

    Matrix stored;

    Pointee* address(std::ptrdiff_t r, std::ptrdiff_t c) const { return stored.address(c, r); }
    Element operator()(std::ptrdiff_t r, std::ptrdiff_t c) const { return stored(c, r); }

    Transposed shifted(std::ptrdiff_t bytes) const { return {stored.shifted(bytes)}; }
    Transposed at(Pointee* newBase) const { return {stored.at(newBase)}; }
};

template <class Object> struct Single {
    using ObjectView = Object;
    static constexpr bool isSingle = true;

    Object object;

    const Object& operator[](std::ptrdiff_t) const { return object; }
};

template <class Object> struct ObjectArray {
    using ObjectView = Object;
    static constexpr bool isSingle = false;

    Object first;
    std::ptrdiff_t objectStride;

    Object operator[](std::ptrdiff_t n) const { return first.shifted(n * objectStride); }
};

// `pattern` carries the strides inside an object; its base is not used.
template <class Object> struct ObjectList {
    using ObjectView = Object;
    using Pointee = typename Object::Pointee;
    static constexpr bool isSingle = false;

    Pointee* const* table;
    std::ptrdiff_t shift;
    Object pattern;

    Object operator[](std::ptrdiff_t n) const { return pattern.at(moved(loadElement<Pointee*>(table + n), shift)); }
};

template <class T> struct ConstantArray {
    using ObjectView = Constant<T>;
    static constexpr bool isSingle = false;

    const T* base;
    std::ptrdiff_t objectStride;

    const T* address(std::ptrdiff_t n) const { return moved(base, n * objectStride); }
    Constant<T> operator[](std::ptrdiff_t n) const { return {loadElement<T>(address(n))}; }
};

template <class T> struct ConstantList {
    using ObjectView = Constant<T>;
    static constexpr bool isSingle = false;

    const T* const* table;
    std::ptrdiff_t shift;

    const T* address(std::ptrdiff_t n) const { return moved(loadElement<const T*>(table + n), shift); }
    Constant<T> operator[](std::ptrdiff_t n) const { return {loadElement<T>(address(n))}; }
};

// One packed element per object, as the reductions write them.
template <class T> struct ScalarArray {
    T* base;

    T operator[](std::ptrdiff_t n) const { return loadElement<T>(base + n); }
    void set(std::ptrdiff_t n, T value) const { storeElement<T>(base + n, value); }
};

// The objects that a kernel works on: `count` of them from number `first`, out of the `total` of the call.
// A kernel that pairs objects or looks at the number of objects does so by `total`, so that results do not
// depend on how the call was split.
struct Place {
    std::int32_t first;
    std::int32_t count;
    std::int32_t total;

    // All objects of a call. The numbers travel by twos in a word, which is put together in a register: g++ would store
    // the two one by one and load the word, and that load waits until all stores before it, also those of earlier calls,
    // have left the processor's queue.
    static Place whole(std::int32_t count)
    {
        constexpr int shift = std::endian::native == std::endian::little ? 32 : 0;
        const std::uint64_t firstAndCount = std::uint64_t(std::uint32_t(count)) << shift;
        Place place{0, count, count};
        std::memcpy(static_cast<void*>(&place), &firstAndCount, sizeof firstAndCount);
        return place;
    }
};

// One object after the other at a fixed distance.
template <class Operand> inline constexpr bool isObjectArray = false;
template <class Object> inline constexpr bool isObjectArray<ObjectArray<Object>> = true;

// Objects whose rows have their elements side by side, as given and not transposed.
template <class Operand> inline constexpr bool isDense = requires { requires Operand::ObjectView::isDense; };
template <class Operand> inline constexpr bool isDenseArray = isDense<Operand>&& isObjectArray<Operand>;
template <class Operand> inline constexpr bool isDenseSingle = isDense<Operand>&& Operand::isSingle;

// Whether the rows of an object, and of an array the objects too, follow each other without a gap.
template <class Object>
requires Object::isDense inline bool isPacked(const Object& object, std::int32_t rows, std::int32_t columns)
{
    if constexpr (requires { object.rowStride; })
        return rows == 1 || object.rowStride == std::ptrdiff_t(sizeof(typename Object::Element)) * columns;
    else
        return true;
}

template <class Object> inline bool isPacked(const Single<Object>& single, std::int32_t rows, std::int32_t columns)
{
    return isPacked(single.object, rows, columns);
}

template <class Object> inline bool isPacked(const ObjectArray<Object>& array, std::int32_t rows, std::int32_t columns)
{
    const std::ptrdiff_t objectBytes = std::ptrdiff_t(sizeof(typename Object::Element)) * rows * columns;
    return isPacked(array.first, rows, columns) && array.objectStride == objectBytes;
}

// How the entries spell the operands of the three layouts. Tables of pointers to data that is only read are
// taken as such; the views of results are the ones with a pointee that is not const.

template <Spacing spacing, class T> StridedVector<T, spacing> vectorAt(T* base, std::int32_t elementStride)
{
    if constexpr (spacing == Spacing::dense)
        return {base, {}};
    else
        return {base, {elementStride}};
}

template <Spacing spacing, class T>
StridedMatrix<T, spacing> matrixAt(T* base, std::int32_t rowStride, std::int32_t elementStride)
{
    if constexpr (spacing == Spacing::dense)
        return {base, rowStride, {}};
    else
        return {base, rowStride, {elementStride}};
}

template <Spacing spacing, class T> auto vector(T* base, std::int32_t elementStride)
{
    return Single<StridedVector<T, spacing>>{vectorAt<spacing>(base, elementStride)};
}

template <Spacing spacing, class T> auto vectorArray(T* base, std::int32_t objectStride, std::int32_t elementStride)
{
    return ObjectArray<StridedVector<T, spacing>>{vectorAt<spacing>(base, elementStride), objectStride};
}

template <Spacing spacing, class T> auto vectorList(T* const* table, std::int32_t roiShift, std::int32_t elementStride)
{
    return ObjectList<StridedVector<T, spacing>>{table, roiShift, vectorAt<spacing, T>(nullptr, elementStride)};
}

template <class T> auto scatteredVector(T* const* table, std::int32_t roiShift)
{
    return Single<ScatteredVector<T>>{{table, roiShift}};
}

template <class T> auto scatteredVectorArray(T* const* table, std::int32_t roiShift, std::int32_t objectStride)
{
    return ObjectArray<ScatteredVector<T>>{{table, roiShift}, objectStride};
}

template <Spacing spacing, class T> auto matrix(T* base, std::int32_t rowStride, std::int32_t elementStride)
{
    return Single<StridedMatrix<T, spacing>>{matrixAt<spacing>(base, rowStride, elementStride)};
}

template <Spacing spacing, class T>
auto matrixArray(T* base, std::int32_t objectStride, std::int32_t rowStride, std::int32_t elementStride)
{
    return ObjectArray<StridedMatrix<T, spacing>>{matrixAt<spacing>(base, rowStride, elementStride), objectStride};
}

template <Spacing spacing, class T>
auto matrixList(T* const* table, std::int32_t roiShift, std::int32_t rowStride, std::int32_t elementStride)
{
    return ObjectList<StridedMatrix<T, spacing>>{table, roiShift,
                                                 matrixAt<spacing, T>(nullptr, rowStride, elementStride)};
}

template <class T> auto scatteredMatrix(T* const* table, std::int32_t roiShift, std::int32_t storedWidth)
{
    return Single<ScatteredMatrix<T>>{{table, roiShift, storedWidth}};
}

template <class T>
auto scatteredMatrixArray(T* const* table, std::int32_t roiShift, std::int32_t objectStride, std::int32_t storedWidth)
{
    return ObjectArray<ScatteredMatrix<T>>{{table, roiShift, storedWidth}, objectStride};
}

template <class T> auto constant(T value) { return Single<Constant<T>>{{value}}; }

template <class T> auto constantArray(const T* base, std::int32_t objectStride)
{
    return ConstantArray<T>{base, objectStride};
}

template <class T> auto constantList(const T* const* table, std::int32_t roiShift)
{
    return ConstantList<T>{table, roiShift};
}

template <class Object> auto transposed(const Single<Object>& array)
{
    return Single<Transposed<Object>>{{array.object}};
}

template <class Object> auto transposed(const ObjectArray<Object>& array)
{
    return ObjectArray<Transposed<Object>>{{array.first}, array.objectStride};
}

template <class Object> auto transposed(const ObjectList<Object>& array)
{
    return ObjectList<Transposed<Object>>{array.table, array.shift, {array.pattern}};
}

} // namespace tarnm
