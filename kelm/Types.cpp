#include <kelm/Types.h>

#include <kelm/Files.h>
#include <kelm/private/errors/ErrorOf.h>
#include <kelm/private/types/TypeCatalogue.h>

namespace kelm
{

Result<void> WriteTypeFile(const FilePath& path, std::initializer_list<const UsedType*> types)
{
    return WriteTextFile(path, Attempt({}, {},
                                       [&]
                                       {
                                           for (const UsedType* type : types)
                                               type->Get();
                                           return JsonOf(CatalogueOfRegisteredTypes());
                                       }));
}

} // namespace kelm
