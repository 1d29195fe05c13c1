#pragma once

// FieldWalk: from a variable of a program to one inside it, step by step. Constant members can be read, nothing grows,
// maps take keys, and what an optional or a handle leads to is entered by the step behind it.

#include <kelm/Scalar.h>
#include <kelm/api.h>
#include <klObject/objects/IObject.h>
#include <klObject/types/ReflectedTypes.h>
#include <klObject/types/ReflectionByteCode.h>
#include <klUtils/BasicSubString.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>

#include <memory>
#include <vector>

namespace kelm
{

enum class EAccess
{
    Read,
    Write,
};

class KELM_API FieldWalk
{
public:
    // From a variable, or from an object.
    FieldWalk(const ReflectionByteCode& type, void* data, EAccess access);
    FieldWalk(ptr<IObject> object, EAccess access);
    FieldWalk(FieldWalk&&) = delete;
    FieldWalk& operator=(FieldWalk&&) = delete;
    ~FieldWalk();

    // Where the walk is: the underlying type, and null where that is an object of GetClass().
    const ReflectionByteCode& GetType() const { return m_type; }
    const ReflectedClass* GetClass() const { return m_class; } // null where it is no instance
    void* GetData() const { return m_data; }
    bool IsConst() const { return m_isConst; }

    // Each goes one step, or says why it cannot and stays.
    bool TryStepToField(SubString name);
    bool TryStepToElement(int64 index);
    bool TryStepToKey(const Scalar& key); // of a map, a set
    // To what the optional or the handle there leads to. Where there is none of these, nothing is done.
    bool TryEnter();
    bool IsEnterable() const;

    // Makes an entry, which is gone with the walk unless it is committed.
    bool TryInsertKey(const Scalar& key);
    bool IsKeyMissing() const { return m_isKeyMissing; } // where the last step to a key has failed
    void Commit();

    // False where it is neither an optional nor a handle.
    bool TrySetToNull();

    bool TakesKeys() const;
    bool TakesIndices() const;

    const xstring& GetFault() const { return m_fault; }

    // The members on the way that have checks, the outermost first.
    struct CheckedMember
    {
        const FieldRule* m_rule;
        const ReflectedClass* m_class;
        ConstStringZ m_name;
        const void* m_data;
    };
    const std::vector<CheckedMember>& GetCheckedMembers() const { return m_checked; }

private:
    class Key;

    void MoveTo(ReflectionByteCode type, void* data);
    bool MoveTo(ptr<IObject> object);
    void MoveToPart(const ReflectionByteCode& type, void* data);
    template <class... Parts>
    bool Fail(const Parts&... parts);

    ReflectionByteCode m_type;
    const ReflectedClass* m_class = nullptr;
    void* m_data;
    ptr<IObject> m_owner;
    EAccess m_access;
    bool m_isConst = false;
    xstring m_fault;
    std::vector<CheckedMember> m_checked;
    bool m_isKeyMissing = false;
    std::unique_ptr<Key> m_insertedKey;
};

} // namespace kelm
