#pragma once

// The examples as their tests see them: files, and the module, loaded as any host would.

#include <klObject/objects/IObject.h>
#include <klObject/values/WriteVariable.h>
#include <klUtils/xstring.h>

#include <dlfcn.h>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>

namespace kelm
{

// The path of a file of the examples.
inline std::string ExampleFile(const std::string& name)
{
    return std::string(KELM_EXAMPLES_DIR "/") + name;
}

inline std::string TextOfFile(const std::string& path)
{
    std::ifstream file(path, std::ios::binary);
    if (!file)
        throw std::runtime_error("cannot read " + path);
    return {std::istreambuf_iterator<char>(file), {}};
}

inline void LoadExampleModule()
{
    void* const library = dlopen(KELM_EXAMPLE_MODULE, RTLD_NOW);
    if (library == nullptr)
        throw std::runtime_error(dlerror());
    void* const function = dlsym(library, "Register_Project_klExampleShapes");
    if (function == nullptr)
        throw std::runtime_error(dlerror());
    reinterpret_cast<void (*)()>(function)();
}

inline xstring TextOf(ptr<IObject> object)
{
    StringStream text(4096);
    WriteObject(text, object, {4});
    return text.GetString();
}

} // namespace kelm
