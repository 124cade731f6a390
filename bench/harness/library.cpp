#include "harness/library.h"

#include <dlfcn.h>
#include <filesystem>
#include <link.h>
#include <stdexcept>

namespace bench {

Library::Library(std::string name, const std::string& file)
    : label(std::move(name))
{
    handle = dlopen(file.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (handle == nullptr) throw std::runtime_error(dlerror());
    link_map* map = nullptr;
    if (dlinfo(handle, RTLD_DI_LINKMAP, &map) == 0) path = std::filesystem::weakly_canonical(map->l_name);
}

void* Library::address(const std::string& symbol) const
{
    void* const found = dlsym(handle, symbol.c_str());
    if (found == nullptr) throw std::runtime_error(path + " has no " + symbol);
    return found;
}

Library openByLoader() { return {"tarnm", BENCH_LIBRARY_NAME}; }

std::vector<Library> openVariants()
{
    const std::string folder = BENCH_LIBRARY_DIR "/";
    std::vector<Library> variants;
    const auto add = [&](const std::string& name, const std::string& subfolder, bool runs) {
        const std::string file = folder + subfolder + BENCH_LIBRARY_NAME;
        if (runs && std::filesystem::exists(file)) variants.emplace_back("tarnm " + name, file);
    };
    add("g9", "", true);
#if defined(__x86_64__)
    add("v3", "glibc-hwcaps/x86-64-v3/", __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma"));
    add("v4", "glibc-hwcaps/x86-64-v4/", __builtin_cpu_supports("avx512vl") && __builtin_cpu_supports("avx512dq"));
#endif
    return variants;
}

Library openFile(const std::string& text)
{
    const auto equals = text.find('=');
    if (equals == std::string::npos) throw std::runtime_error("--library wants NAME=FILE");
    return {text.substr(0, equals), std::filesystem::absolute(text.substr(equals + 1))};
}

} // namespace bench
