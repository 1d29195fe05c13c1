#pragma once

// Qualified names and the reader of data sources as their rules say it, over the reference's own tokens. Descriptions,
// registries, the construction of variables and the collector are the library's.

#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectionByteCode.h>
#include <support/ReferenceTokens.h>

#include <string>
#include <vector>

namespace kelm::reference
{

// Splits the name that `text` begins with, from `at` on, which is left at the first token behind it.
bool TokenisePath(const std::string& text, std::size_t& at, std::vector<std::string>& segments);
bool IsPathSuffix(const std::string& path, const std::string& suffix);

class DataSourceReader
{
public:
    explicit DataSourceReader(Stream& stream) : m_stream(stream) {}

    // Throw TextError and KelmAssertionError.
    ptr<IObject> ReadDataSource();
    ptr<IObject> ReadDataSource(const std::string& className);
    void ReadVariable(ReflectionByteCode type, void* data);
    void ReadClass(const ReflectedClass& rc, void* data);
    void ReadArray(ReflectionByteCode elementType, ssize_t count, void* data);
    void ReadVector(ReflectionByteCode elementType, void* vector);
    void ReadMap(ReflectionByteCode mapType, void* map);
    void ReadVariant(const ReflectedVariant& rv, void* data);

private:
    struct Field
    {
        std::string m_name;
        ReflectionByteCode m_type;
        void* m_data;
    };

    static std::vector<Field> FieldsOf(const ReflectedClass& rc, void* data);
    void ReadPositionalBody(const std::vector<Field>& fields);
    void ReadNamedBody(const ReflectedClass& rc, const std::vector<Field>& fields);
    void ReadEnumerator(const ReflectedEnum& r, void* data);
    void ReadPersistentReference(void* data);
    bool ReadEndOrComma();
    EToken Kind() const { return m_stream.m_token.m_kind; }

    Stream& m_stream;
};

} // namespace kelm::reference
