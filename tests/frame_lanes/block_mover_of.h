// The movers of one type, for every width and shape.
#pragma once

#include "block_mover.h"
#include "frame/blocks.h"

#include <cstdlib>
#include <cstring>

namespace tarnm {

enum class Forms { dense, all, allAndTransposed };

// An object of R x C elements, or for R = 0 a vector of C.
template <class V, int R, int C, Forms forms> class BlockMoverOf final : public BlockMover {
    using T = scalar_t<V>;
    static constexpr int N = lane_count_v<V>;
    static constexpr bool isVector = R == 0;
    static constexpr int rowCount = isVector ? 1 : R;
    using Block = typename std::conditional_t<isVector, ElementsOf<V, C>, ElementsOf<V, R, C>>::type;

public:
    BlockMoverOf()
        : BlockMover((sizeof(T) == 4 ? "float" : "double") + std::to_string(N) +
                         (isVector ? "Vector" : "Matrix" + std::to_string(R) + "x") + std::to_string(C),
                     N, rowCount, C, int(sizeof(T)), forms == Forms::dense, forms == Forms::allAndTransposed)
    {}

    void put(unsigned char* address, double value) const override
    {
        const T element = T(value);
        std::memcpy(address, &element, sizeof element);
    }

    std::vector<double> load(const StridedPlace& p, int first, int live) const override
    {
        const auto* base = reinterpret_cast<const T*>(p.base);
        if (p.isDense) return loadedFrom(strided<Spacing::dense>(base, p.distance), first, live);
        if constexpr (forms != Forms::dense)
            return loadedFrom(strided<Spacing::strided>(base, p.distance), first, live);
        std::abort();
    }
    std::vector<double> load(const ListPlace& p, int first, int live) const override
    {
        const auto* table = reinterpret_cast<const T* const*>(p.table.data());
        if (p.isDense) return loadedFrom(list<Spacing::dense>(table, p), first, live);
        if constexpr (forms != Forms::dense) return loadedFrom(list<Spacing::strided>(table, p), first, live);
        std::abort();
    }
    std::vector<double> load(const ScatteredPlace& p, int first, int live) const override
    {
        if constexpr (forms != Forms::dense)
            return loadedFrom(scattered(reinterpret_cast<const T* const*>(p.table.data()), p), first, live);
        std::abort();
    }

    std::vector<double> loadTransposed(const StridedPlace& p, int first, int live) const override
    {
        const auto* base = reinterpret_cast<const T*>(p.base);
        if constexpr (forms == Forms::allAndTransposed)
            return p.isDense ? loadedFrom(transposed(strided<Spacing::dense>(base, p.distance)), first, live)
                             : loadedFrom(transposed(strided<Spacing::strided>(base, p.distance)), first, live);
        std::abort();
    }
    std::vector<double> loadTransposed(const ListPlace& p, int first, int live) const override
    {
        const auto* table = reinterpret_cast<const T* const*>(p.table.data());
        if constexpr (forms == Forms::allAndTransposed)
            return p.isDense ? loadedFrom(transposed(list<Spacing::dense>(table, p)), first, live)
                             : loadedFrom(transposed(list<Spacing::strided>(table, p)), first, live);
        std::abort();
    }
    std::vector<double> loadTransposed(const ScatteredPlace& p, int first, int live) const override
    {
        const auto* table = reinterpret_cast<const T* const*>(p.table.data());
        if constexpr (forms == Forms::allAndTransposed)
            return loadedFrom(transposed(scatteredMatrixArray(table, p.shift, std::int32_t(p.objectStride), R)), first,
                              live);
        std::abort();
    }

    void store(const StridedPlace& p, int first, int live) const override
    {
        auto* base = reinterpret_cast<T*>(p.base);
        if (p.isDense)
            storeTo(strided<Spacing::dense>(base, p.distance), first, live);
        else if constexpr (forms != Forms::dense)
            storeTo(strided<Spacing::strided>(base, p.distance), first, live);
    }
    void store(const ListPlace& p, int first, int live) const override
    {
        auto* table = reinterpret_cast<T* const*>(p.table.data());
        if (p.isDense)
            storeTo(list<Spacing::dense>(table, p), first, live);
        else if constexpr (forms != Forms::dense)
            storeTo(list<Spacing::strided>(table, p), first, live);
    }
    void store(const ScatteredPlace& p, int first, int live) const override
    {
        if constexpr (forms != Forms::dense)
            storeTo(scattered(reinterpret_cast<T* const*>(p.table.data()), p), first, live);
    }

private:
    template <Spacing spacing, class Pointee> static auto strided(Pointee* base, const Distances& d)
    {
        if constexpr (isVector)
            return vectorArray<spacing>(base, std::int32_t(d.object), std::int32_t(d.element));
        else
            return matrixArray<spacing>(base, std::int32_t(d.object), std::int32_t(d.row), std::int32_t(d.element));
    }
    template <Spacing spacing, class Pointee> static auto list(Pointee* const* table, const ListPlace& p)
    {
        if constexpr (isVector)
            return vectorList<spacing>(table, p.shift, std::int32_t(p.distance.element));
        else
            return matrixList<spacing>(table, p.shift, std::int32_t(p.distance.row), std::int32_t(p.distance.element));
    }
    template <class Pointee> static auto scattered(Pointee* const* table, const ScatteredPlace& p)
    {
        if constexpr (isVector)
            return scatteredVectorArray(table, p.shift, std::int32_t(p.objectStride));
        else
            return scatteredMatrixArray(table, p.shift, std::int32_t(p.objectStride), C);
    }

    // The lanes in memory: the element (r, c) of lane l is values[(r * C + c) * N + l].
    struct Values {
        T values[rowCount * C * N];
    };

    template <class Array>
    [[gnu::noinline]] static std::vector<double> loadedFrom(const Array& array, int first, int live)
    {
        Block a;
        loadBlock(array, first, live, a);
        Values memory;
        std::memcpy(&memory, &a, sizeof memory);
        std::vector<double> result;
        for (int l = 0; l < N; ++l)
            for (int i = 0; i < rowCount * C; ++i)
                result.push_back(double(memory.values[i * N + l]));
        return result;
    }

    template <class Array> [[gnu::noinline]] static void storeTo(const Array& array, int first, int live)
    {
        Values memory;
        for (int l = 0; l < N; ++l)
            for (int i = 0; i < rowCount * C; ++i)
                memory.values[i * N + l] = T(valueOf(first + l, i / C, i % C));
        Block a;
        std::memcpy(&a, &memory, sizeof memory);
        storeBlock(array, first, live, a);
    }
};

// Every length of a run that has a path of its own: below, at and above the length of a piece of 16 bytes, with every
// remainder. Larger objects are longer runs of the same kind.
template <class V> void addMovers(BlockMovers& movers)
{
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 1, Forms::all>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 2, Forms::all>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 3, Forms::all>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 4, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 5, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 6, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 0, 7, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 2, 2, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 3, 3, Forms::allAndTransposed>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 2, 5, Forms::allAndTransposed>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 4, 4, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 5, 5, Forms::dense>>());
    movers.push_back(std::make_shared<BlockMoverOf<V, 6, 6, Forms::dense>>());
}

// Vectors wider than the target's are right but slow to compile: the widest are left to a build for such a target.
template <class T> BlockMovers moversOf()
{
    constexpr int narrow = machine::pieceBytes / int(sizeof(T));
    BlockMovers movers;
    addMovers<T>(movers);
    addMovers<lanes<T, narrow>>(movers);
    addMovers<lanes<T, 2 * narrow>>(movers);
    if constexpr (machine::vectorBytes == 64) addMovers<lanes<T, 4 * narrow>>(movers);
    return movers;
}

} // namespace tarnm
