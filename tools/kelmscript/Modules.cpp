#include "Modules.h"

#include "Diagnostics.h"

#include <klKelmScript/klKelmScript.h>

#include <cstdlib>
#include <dlfcn.h>
#include <exception>
#include <filesystem>
#include <sstream>

namespace kelm::tool
{

namespace
{

// "Shapes" of "some/where/libShapes.so" and of "libShapes.so.1"; empty where the file is not named so.
std::string ProjectOf(const std::string& module)
{
    const std::string file = std::filesystem::path(module).filename();
    const std::size_t suffix = file.find(".so");
    return file.starts_with("lib") && suffix != std::string::npos ? file.substr(3, suffix - 3) : std::string();
}

// A name without a slash means a file here before it means one of the system's libraries.
std::string PathOf(const std::string& module)
{
    return module.find('/') == std::string::npos && std::filesystem::exists(module) ? "./" + module : module;
}

bool Fail(const std::string& module, const std::string& why)
{
    ReportError("cannot load module " + module + ": " + why);
    return false;
}

// What the loader says, without the name of the module in front.
std::string LoaderError(const std::string& module)
{
    const std::string error = dlerror();
    const std::string name = PathOf(module) + ": ";
    return error.starts_with(name) ? error.substr(name.size()) : error;
}

bool LoadModule(const std::string& module)
{
    const std::string project = ProjectOf(module);
    if (project.empty())
        return Fail(module, "its name is not of the form libNAME.so");
    void* const library = dlopen(PathOf(module).c_str(), RTLD_NOW);
    if (library == nullptr)
        return Fail(module, LoaderError(module));
    const std::string function = "Register_Project_" + project;
    void* const address = dlsym(library, function.c_str());
    if (address == nullptr)
        return Fail(module, "it has no function " + function);
    try
    {
        reinterpret_cast<void (*)()>(address)();
        return true;
    }
    catch (const std::exception& e)
    {
        return Fail(module, function + " fails: " + e.what());
    }
}

std::vector<std::string> ModulesOfEnvironment()
{
    std::vector<std::string> modules;
    const char* const variable = std::getenv("KELMSCRIPT_MODULES");
    std::istringstream list(variable != nullptr ? variable : "");
    for (std::string module; std::getline(list, module, ':');)
        if (!module.empty())
            modules.push_back(module);
    return modules;
}

} // namespace

bool LoadModules(const std::vector<std::string>& modules)
{
    Register_Project_klKelmScript();
    for (const std::vector<std::string>& list : {ModulesOfEnvironment(), modules})
        for (const std::string& module : list)
            if (!LoadModule(module))
                return false;
    return true;
}

} // namespace kelm::tool
