#include "harness/row.h"

namespace bench {

namespace {

template <class T> void fillWith(T* values, std::size_t n, std::uint32_t& seed)
{
    for (std::size_t i = 0; i < n; ++i) {
        seed = seed * 1664525u + 1013904223u;
        const T magnitude = T(0.5) + T(1.5) * T(seed >> 9) / T(1 << 23);
        values[i] = (seed & 0x100u) != 0 ? magnitude : -magnitude;
    }
}

} // namespace

void Row::fill(float* values, std::size_t n) { fillWith(values, n, seed); }
void Row::fill(double* values, std::size_t n) { fillWith(values, n, seed); }

void Rows::add(const std::string& name, const Prepare& prepare)
{
    add(name, {1, 1000, 100000}, prepare);
    add(name + "/100000/2t", 100000, 2, prepare);
}

void Rows::add(const std::string& name, std::initializer_list<int> counts, const Prepare& prepare)
{
    for (const int count : counts)
        add(name + "/" + std::to_string(count), count, 1, prepare);
}

void Rows::add(const std::string& name, int count, int threads, const Prepare& prepare)
{
    plans.push_back({name, count, threads, prepare});
}

} // namespace bench
