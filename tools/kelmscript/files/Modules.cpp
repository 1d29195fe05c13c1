#include "Modules.h"

#include "../reporting/Diagnostics.h"
#include "Files.h"

#include <kelmLanguage/DumpedTypes.h>
#include <kelmLanguage/Types.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/types/Registry.h>
#include <klUtils/types.h>

#include <algorithm>
#include <cstdlib>
#include <exception>
#include <string_view>
#include <utility>

#include <dlfcn.h>
#include <unistd.h>

namespace kelm::tool
{

namespace
{

// "Shapes" of "some/where/libShapes.so" and of "libShapes.so.1"; empty where the file is not named so.
std::string ProjectOf(const std::string& module)
{
    const std::string file = module.substr(module.rfind('/') + 1); // npos + 1 is 0
    const std::size_t suffix = file.find(".so");
    return file.starts_with("lib") && suffix != std::string::npos ? file.substr(3, suffix - 3) : std::string();
}

bool IsFile(const std::string& path)
{
    return access(path.c_str(), F_OK) == 0;
}

// On the command line, which is its writer's own word, a name without a slash means a file here before it means one of
// the system's libraries.
std::string PathOfGiven(const std::string& module)
{
    return module.find('/') == std::string::npos && IsFile(module) ? "./" + module : module;
}

bool Fail(const std::string& module, const std::string& why)
{
    ReportError("cannot load module " + module + ": " + why);
    return false;
}

// What the loader says, without the name of the file in front.
std::string LoaderError(const std::string& path)
{
    const std::string error = dlerror();
    const std::string name = path + ": ";
    return error.starts_with(name) ? error.substr(name.size()) : error;
}

// Loads the module that was named so from a file.
bool LoadModule(const std::string& module, const std::string& path)
{
    if (!KELM_CAN_LOAD_MODULES)
        return Fail(module, "this kelmscript is built without shared libraries, so that a module would have types and "
                            "registries of its own");
    const std::string project = ProjectOf(module);
    if (project.empty())
        return Fail(module, "its name is not of the form libNAME.so");
    void* const library = dlopen(path.c_str(), RTLD_NOW);
    if (library == nullptr)
        return Fail(module, LoaderError(path));
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

constexpr char s_modulesVariable[] = "KELMSCRIPT_MODULES";
constexpr char s_foldersVariable[] = "KELMSCRIPT_MODULE_PATH";

// The entries of an environment variable with colons between them.
std::vector<std::string> ListOf(ConstStringZ variable)
{
    std::vector<std::string> entries;
    const char* const value = std::getenv(variable);
    std::string_view rest = value != nullptr ? value : "";
    while (!rest.empty())
    {
        const std::string_view entry = rest.substr(0, rest.find(':'));
        if (!entry.empty())
            entries.emplace_back(entry);
        rest.remove_prefix(std::min(entry.size() + 1, rest.size()));
    }
    return entries;
}

// In the environment, which outlives whoever wrote it, the current folder means nothing: a module is named by its whole
// path, or lies in one of the folders that are.
bool LoadModuleOfEnvironment(const std::string& module)
{
    if (module.starts_with('/'))
        return LoadModule(module, module);
    if (module.find('/') != std::string::npos)
        return Fail(module, "KELMSCRIPT_MODULES holds whole paths, and names of files in KELMSCRIPT_MODULE_PATH");
    for (std::string path : ListOf(s_foldersVariable))
    {
        const bool isWhole = path.starts_with('/');
        path.append("/").append(module);
        if (isWhole && IsFile(path))
            return LoadModule(module, path);
    }
    return Fail(module, "no folder of KELMSCRIPT_MODULE_PATH has it");
}

language::Types& Told()
{
    static language::Types s_told;
    return s_told;
}

// Those whose names are not registered yet.
void AddTold(const TypeCatalogue& catalogue)
{
    TypeCatalogue told = Told().GetCatalogue();
    const auto add =
        []<class Entry>(std::vector<Entry>& to, const std::vector<Entry>& from, auto* (*find)(ConstStringZ))
    {
        for (const Entry& entry : from)
            if (find(entry.m_name.c_str()) == nullptr)
                to.push_back(entry);
    };
    add(told.m_classes, catalogue.m_classes, TryFindReflectedClass);
    add(told.m_enums, catalogue.m_enums, TryFindReflectedEnum);
    add(told.m_variants, catalogue.m_variants, TryFindReflectedVariant);
    add(told.m_typedefs, catalogue.m_typedefs, TryFindReflectedTypedef);
    Told() = language::Types(std::move(told));
}

} // namespace

bool LoadModules(const std::vector<std::string>& modules)
{
    Register_Project_klKelmScript();
    const std::vector<std::string> environment = ListOf(s_modulesVariable);
    return std::all_of(environment.begin(), environment.end(), LoadModuleOfEnvironment) &&
           std::all_of(modules.begin(), modules.end(),
                       [](const std::string& module) { return LoadModule(module, PathOfGiven(module)); });
}

std::string TryLoadTypes(const std::vector<std::string>& catalogues)
{
    for (const std::string& path : catalogues)
    {
        std::string why;
        const std::optional<NamedText> file = TryReadFile(path, why);
        if (!file)
            return UnreadableText(path, why);
        const std::optional<TypeCatalogue> catalogue = language::ReadTypeCatalogue(file->Source().m_text, why);
        if (catalogue)
        {
            AddTold(*catalogue);
            why = language::RegisterDumpedTypes(*catalogue);
        }
        if (!why.empty())
            return "cannot load types of " + file->m_name + ": " + why;
    }
    return {};
}

const language::Types& ToldTypes()
{
    return Told();
}

bool LoadTypes(const std::vector<std::string>& catalogues)
{
    const std::string why = TryLoadTypes(catalogues);
    if (!why.empty())
        ReportError(why, "file");
    return why.empty();
}

std::vector<std::string> FilesOfModules(const std::vector<std::string>& modules)
{
    std::vector<std::string> files;
    for (const std::string& module : ListOf(s_modulesVariable))
        if (module.starts_with('/'))
            files.push_back(module);
        else
            for (const std::string& folder : ListOf(s_foldersVariable))
                files.emplace_back(folder).append("/").append(module);
    for (const std::string& module : modules)
        files.push_back(PathOfGiven(module));
    return files;
}

} // namespace kelm::tool
