// What the programs that measure accuracy print.
//
//   epsilon            the unit of rounding
//   ErrorQuantiles     errors in units of it
//   units, share       an error and a part of the trials, as texts of a table
#pragma once

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

namespace tarnm::test {

template <class T> inline constexpr double epsilon = sizeof(T) == 4 ? 0x1p-23 : 0x1p-52;

class ErrorQuantiles {
public:
    void add(double error) { errors.push_back(error); }

    // What `part` of the errors stay below.
    double below(double part)
    {
        std::sort(errors.begin(), errors.end());
        return errors.empty() ? 0 : errors[std::min(errors.size() - 1, std::size_t(part * double(errors.size())))];
    }
    int above(double limit) const
    {
        return int(std::count_if(errors.begin(), errors.end(), [&](double error) { return !(error <= limit); }));
    }

private:
    std::vector<double> errors;
};

inline std::string share(int found, int trials)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.2g %%", 100.0 * found / trials);
    return found == 0 ? "none" : text;
}

inline std::string units(double error)
{
    char text[32];
    std::snprintf(text, sizeof text, error < 9.95 ? "%.1f" : error < 99999.5 ? "%.0f" : "%.0e", error);
    return text;
}

} // namespace tarnm::test
