#include "eigen/symmetric_members.h"

#include <bit>
#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>

#include "support/members.h"

namespace tarnm::test {
namespace {

template <class T> T mark()
{
    if constexpr (sizeof(T) == 4)
        return std::bit_cast<float>(std::uint32_t(0x7fc0a5a5));
    else
        return std::bit_cast<double>(std::uint64_t(0x7ff80000a5a5a5a5));
}

// The matrices of one operand: a gap behind every row and object, and between elements unless dense.
template <class T> struct Matrices {
    int elementStride, rowStride, objectStride; // in elements
    std::vector<T> elements;
    std::vector<T*> objects, scattered;

    Matrices(int n, int count, bool isDense)
        : elementStride(isDense ? 1 : 2)
        , rowStride(n * elementStride + 1)
        , objectStride(n * rowStride + 3)
        , elements(std::size_t(objectStride) * count, mark<T>())
    {
        for (int k = 0; k < count; ++k)
            objects.push_back(&at(k, 0, 0));
        for (int r = 0; r < n; ++r)
            for (int c = 0; c < n; ++c)
                scattered.push_back(&at(0, r, c));
    }

    T& at(int k, int r, int c) { return elements[std::size_t(objectStride) * k + r * rowStride + c * elementStride]; }

    void describe(std::map<std::string, Value>& values, const std::string& pointer, const std::string& stride,
                  char layout)
    {
        const int size = sizeof(T);
        values["p" + pointer].pointer = elements.data();
        values["pp" + pointer].pointer = layout == 'L' ? objects.data() : scattered.data();
        values[stride + "ObjectStride"].integer = objectStride * size;
        values[stride + "RowStride"].integer = rowStride * size;
        values[stride + "ElementStride"].integer = elementStride * size;
        values[stride + "RoiShift"].integer = 0;
    }
};

template <class T> const Member& memberFor(const SymmetricKernel& kernel)
{
    const std::string name = std::string("tarnmEigenValues") + (kernel.isVectors ? "Vectors" : "") + "Sym_" +
                             (kernel.isArray ? "ma_" : "m_") + (sizeof(T) == 4 ? "32f" : "64f") +
                             (kernel.layout == 'S' ? "" : std::string("_") + kernel.layout);
    for (const Member& member : members())
        if (member.name == name) return member;
    throw std::logic_error("no member " + name);
}

} // namespace

template <class T>
SymmetricCall<T> callSymmetric(const SymmetricKernel& kernel, const std::vector<std::vector<T>>& objects, int n)
{
    const int count = int(objects.size());
    const bool isDense = kernel.isDense || kernel.layout == 'P';
    Matrices<T> source(n, count, isDense), result(n, count, isDense);
    std::vector<T> buffer(n * n), values(n * count, mark<T>());
    for (int k = 0; k < count; ++k)
        for (int i = 0; i < n * n; ++i)
            source.at(k, i / n, i % n) = objects[k][i];

    std::map<std::string, Value> named;
    source.describe(named, "Src", "src", kernel.layout);
    result.describe(named, "DstVectors", "dst", kernel.layout);
    named["pBuffer"].pointer = buffer.data();
    named["pDstValues"].pointer = values.data();
    named["widthHeight"].integer = n;
    named["count"].integer = count;
    const Member& member = memberFor<T>(kernel);
    std::vector<Value> arguments;
    for (const Argument& argument : member.arguments())
        arguments.push_back(named.at(std::string(argument.name)));

    SymmetricCall<T> call{member(arguments.data()), {}, {}};
    for (int k = 0; k < count; ++k) {
        call.values.emplace_back(values.begin() + k * n, values.begin() + (k + 1) * n);
        call.vectors.emplace_back();
        for (int i = 0; i < n * n; ++i)
            call.vectors.back().push_back(result.at(k, i / n, i % n));
    }
    return call;
}

std::vector<SymmetricKernel> allKernels()
{
    std::vector<SymmetricKernel> kernels;
    for (const bool isVectors : {false, true})
        for (const bool isArray : {false, true})
            for (const char layout : {'S', 'L', 'P'})
                for (const bool isDense : {true, false})
                    if ((isArray || layout != 'L') && !(layout == 'P' && isDense))
                        kernels.push_back({isVectors, isArray, layout, isDense});
    return kernels;
}

template <class T> bool isUntouched(T value)
{
    using Bits = std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint64_t>;
    return std::bit_cast<Bits>(value) == std::bit_cast<Bits>(mark<T>());
}

template SymmetricCall<float> callSymmetric(const SymmetricKernel&, const std::vector<std::vector<float>>&, int);
template SymmetricCall<double> callSymmetric(const SymmetricKernel&, const std::vector<std::vector<double>>&, int);
template bool isUntouched(float);
template bool isUntouched(double);

} // namespace tarnm::test
