#include "ui/FormWindowModule.h"

#include <dlfcn.h>

#include "Foundation/Log.h"

namespace dresk {

namespace {

std::string loaderError() {
    // The loader keeps the text for each thread by itself.
    const char* error = dlerror(); // NOLINT(concurrency-mt-unsafe)
    return error != nullptr ? error : "unknown error";
}

} // namespace

std::vector<std::filesystem::path>
FormWindowModule::candidatesFor(const std::filesystem::path& programFolder) {
    return {programFolder / "libdreskform.so",
            programFolder / ".." / "lib" / "dresk" / "libdreskform.so"};
}

FormWindowFactory* FormWindowModule::factory() {
    if (factory_ == nullptr) {
        std::string error;
        factory_ = load(error);
        if (factory_ == nullptr)
            logLine("There is no window for the fields form: " + error);
    }
    return factory_;
}

FormWindowFactory* FormWindowModule::load(std::string& error) const {
    for (const auto& path : candidates_) {
        std::error_code ignored;
        if (!std::filesystem::exists(path, ignored))
            continue;
        void* module = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
        if (module == nullptr) {
            error = loaderError();
            return nullptr;
        }
        const auto function =
            reinterpret_cast<FormWindowFactoryFunction*>(dlsym(module, FormWindowFactorySymbol));
        FormWindowFactory* factory = function != nullptr ? function() : nullptr;
        if (factory == nullptr)
            error = path.string() + " does not work here.";
        return factory;
    }
    error = "libdreskform.so is not installed.";
    return nullptr;
}

} // namespace dresk
