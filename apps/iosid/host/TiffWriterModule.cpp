// Loading the GeoTIFF writer's module, once, from the running program's folder.
#include "Writers.h"

#include <dlfcn.h>
#include <unistd.h>

#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace iosid::host {
namespace {

constexpr const char *kModuleName = "libiosid_tiffwriter.so";

std::filesystem::path ProgramFolder() {
    std::vector<char> buffer(4096);
    const ssize_t n = readlink("/proc/self/exe", buffer.data(), buffer.size() - 1);
    return n > 0 ? std::filesystem::path(std::string(buffer.data(), size_t(n))).parent_path()
                 : std::filesystem::path(".");
}

TiffWriterFactory Load() {
    const std::string path = (ProgramFolder() / kModuleName).string();
    // Kept loaded for the life of the process: its writers may outlive any one caller.
    void *module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (module == nullptr)
        throw std::runtime_error(std::string("cannot load the GeoTIFF writer: ") + dlerror());
    using Entry = void *(*)();
    const auto entry = reinterpret_cast<Entry>(dlsym(module, "IosidTiffWriterFactory"));
    if (entry == nullptr)
        throw std::runtime_error("the GeoTIFF writer " + path + " has no IosidTiffWriterFactory");
    return reinterpret_cast<TiffWriterFactory>(entry());
}

} // namespace

TiffWriterFactory LoadTiffWriter() {
    static std::once_flag once;
    static TiffWriterFactory factory = nullptr;
    std::call_once(once, [] { factory = Load(); });
    return factory;
}

} // namespace iosid::host
