#pragma once

// What a program tells of its types to those who help to write texts of them: editors, and the tool, which have no part
// of its executable.
//
//     kelm::WriteTypes<Order, Settings>("shop.types.json");

#include <kelm/FilePath.h>
#include <kelm/Result.h>
#include <kelm/UsedType.h>
#include <kelm/api.h>

#include <initializer_list>

namespace kelm
{

// Writes what is registered, the types Ts and what they are made of included, to a file that `kelmscript lsp` and its
// like read. The file is replaced whole or not at all.
template <class... Ts>
void WriteTypes(const FilePath& path);
template <class... Ts>
Result<void> TryWriteTypes(const FilePath& path);

// --- The inside

KELM_API Result<void> WriteTypeFile(const FilePath& path, std::initializer_list<const UsedType*> types);

template <class... Ts>
void WriteTypes(const FilePath& path)
{
    *TryWriteTypes<Ts...>(path);
}

template <class... Ts>
Result<void> TryWriteTypes(const FilePath& path)
{
    return WriteTypeFile(path, {&s_typeOf<Ts>...});
}

} // namespace kelm
