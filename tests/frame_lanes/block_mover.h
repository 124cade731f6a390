// loadBlock and storeBlock of one width, shape and type behind an interface without templates, so that the tests are
// compiled once. Values cross it as double, which holds every value used exactly.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

struct Distances {
    std::ptrdiff_t object, row, element; // bytes
};

struct StridedPlace {
    unsigned char* base;
    Distances distance;
    bool isDense; // the views with a constant element stride
};

struct ListPlace {
    const std::vector<unsigned char*>& table;
    std::int32_t shift;
    Distances distance; // that of objects is not used
    bool isDense;
};

struct ScatteredPlace {
    const std::vector<unsigned char*>& table;
    std::int32_t shift;
    std::ptrdiff_t objectStride;
};

// What object n holds at (r, c). No two elements of a test are alike.
inline double valueOf(int n, int r, int c) { return ((n + 1) * 64 + r * 8 + c) * ((n + r + c) % 3 == 0 ? -1.0 : 1.0); }

class BlockMover {
public:
    std::string name;
    int laneCount, rows, columns, elementSize;
    bool isOnlyDense; // the large shapes, which would take long to compile in all forms
    bool canTranspose;

    virtual ~BlockMover() = default;
    virtual void put(unsigned char* address, double value) const = 0;

    // All lanes of the block, as values[(l * rows + r) * columns + c].
    virtual std::vector<double> load(const StridedPlace&, int first, int live) const = 0;
    virtual std::vector<double> load(const ListPlace&, int first, int live) const = 0;
    virtual std::vector<double> load(const ScatteredPlace&, int first, int live) const = 0;

    // The same through a transposed view: `columns` rows of `rows` elements are stored.
    virtual std::vector<double> loadTransposed(const StridedPlace&, int first, int live) const = 0;
    virtual std::vector<double> loadTransposed(const ListPlace&, int first, int live) const = 0;
    virtual std::vector<double> loadTransposed(const ScatteredPlace&, int first, int live) const = 0;

    // Stores valueOf(first + l, r, c) from lane l.
    virtual void store(const StridedPlace&, int first, int live) const = 0;
    virtual void store(const ListPlace&, int first, int live) const = 0;
    virtual void store(const ScatteredPlace&, int first, int live) const = 0;

protected:
    BlockMover(std::string moverName, int lanes, int r, int c, int size, bool onlyDense, bool transposes)
        : name(std::move(moverName))
        , laneCount(lanes)
        , rows(r)
        , columns(c)
        , elementSize(size)
        , isOnlyDense(onlyDense)
        , canTranspose(transposes)
    {}
};

using BlockMovers = std::vector<std::shared_ptr<const BlockMover>>;
BlockMovers singleMovers();
BlockMovers doubleMovers();
