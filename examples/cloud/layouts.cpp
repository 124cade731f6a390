#include "layouts.h"

#include <tarnm/tarnm.h>

#include <limits>
#include <stdexcept>
#include <string>

namespace cloud {
namespace {

// The members of both element types under one name.
template <class T> struct Members;

template <> struct Members<float> {
    static constexpr auto subtractPacked = tarnmSub_vav_32f;
    static constexpr auto subtractListed = tarnmSub_vav_32f_L;
    static constexpr auto subtractPlanar = tarnmSub_vav_32f_P;
    static constexpr auto multiplyPacked = tarnmMul_vac_32f;
    static constexpr auto multiplyListed = tarnmMul_vac_32f_L;
    static constexpr auto multiplyPlanar = tarnmMul_vac_32f_P;
};

template <> struct Members<double> {
    static constexpr auto subtractPacked = tarnmSub_vav_64f;
    static constexpr auto subtractListed = tarnmSub_vav_64f_L;
    static constexpr auto subtractPlanar = tarnmSub_vav_64f_P;
    static constexpr auto multiplyPacked = tarnmMul_vac_64f;
    static constexpr auto multiplyListed = tarnmMul_vac_64f_L;
    static constexpr auto multiplyPlanar = tarnmMul_vac_64f_P;
};

constexpr std::int32_t dimension = 3;

template <class Layout> std::int32_t countOf(const Layout& layout)
{
    if (layout.size() > static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max()))
        throw std::length_error("more points than one call takes");
    return static_cast<std::int32_t>(layout.size());
}

void check(tarnmStatus status, const char* call)
{
    if (status != StatusOk)
        throw std::logic_error(std::string(call) + " returned the status " + std::to_string(status));
}

} // namespace

template <class T>
Listed<T>::Listed(std::size_t count)
    : records(count)
    , pointers(count)
{
    for (std::size_t n = 0; n < count; ++n) {
        records[n].number = static_cast<std::uint32_t>(n);
        pointers[n] = records[n].position.data();
    }
}

template <class T> Planar<T>::Planar(std::size_t count)
{
    for (std::size_t k = 0; k < 3; ++k) {
        planes[k].resize(count);
        pointers[k] = planes[k].data();
    }
}

template <class T> void subtract(const Packed<T>& source, const Point<T>& vector, Packed<T>& result)
{
    check(Members<T>::subtractPacked(&source.at(0, 0), source.objectStride, source.elementStride, vector.data(),
                                     sizeof(T), &result.at(0, 0), result.objectStride, result.elementStride, dimension,
                                     countOf(source)),
          "Sub_vav");
}

template <class T> void subtract(const Listed<T>& source, const Point<T>& vector, Listed<T>& result)
{
    check(Members<T>::subtractListed(source.table(), source.roiShift, source.elementStride, vector.data(), sizeof(T),
                                     result.table(), result.roiShift, result.elementStride, dimension, countOf(source)),
          "Sub_vav _L");
}

template <class T> void subtract(const Planar<T>& source, const Point<T>& vector, Planar<T>& result)
{
    const T* const elements[] = {&vector[0], &vector[1], &vector[2]};
    check(Members<T>::subtractPlanar(source.table(), source.roiShift, source.objectStride, elements, 0, result.table(),
                                     result.roiShift, result.objectStride, dimension, countOf(source)),
          "Sub_vav _P");
}

template <class T> void multiply(const Packed<T>& source, T factor, Packed<T>& result)
{
    check(Members<T>::multiplyPacked(&source.at(0, 0), source.objectStride, source.elementStride, factor,
                                     &result.at(0, 0), result.objectStride, result.elementStride, dimension,
                                     countOf(source)),
          "Mul_vac");
}

template <class T> void multiply(const Listed<T>& source, T factor, Listed<T>& result)
{
    check(Members<T>::multiplyListed(source.table(), source.roiShift, source.elementStride, factor, result.table(),
                                     result.roiShift, result.elementStride, dimension, countOf(source)),
          "Mul_vac _L");
}

template <class T> void multiply(const Planar<T>& source, T factor, Planar<T>& result)
{
    check(Members<T>::multiplyPlanar(source.table(), source.roiShift, source.objectStride, factor, result.table(),
                                     result.roiShift, result.objectStride, dimension, countOf(source)),
          "Mul_vac _P");
}

template class Listed<float>;
template class Listed<double>;
template class Planar<float>;
template class Planar<double>;

template void subtract(const Packed<float>&, const Point<float>&, Packed<float>&);
template void subtract(const Listed<float>&, const Point<float>&, Listed<float>&);
template void subtract(const Planar<float>&, const Point<float>&, Planar<float>&);
template void multiply(const Packed<float>&, float, Packed<float>&);
template void multiply(const Listed<float>&, float, Listed<float>&);
template void multiply(const Planar<float>&, float, Planar<float>&);

template void subtract(const Packed<double>&, const Point<double>&, Packed<double>&);
template void subtract(const Listed<double>&, const Point<double>&, Listed<double>&);
template void subtract(const Planar<double>&, const Point<double>&, Planar<double>&);
template void multiply(const Packed<double>&, double, Packed<double>&);
template void multiply(const Listed<double>&, double, Listed<double>&);
template void multiply(const Planar<double>&, double, Planar<double>&);

} // namespace cloud
