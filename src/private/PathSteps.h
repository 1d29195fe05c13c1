#pragma once

// PathSteps: the single steps of a walk along a path, taken one by one, by whoever has a path in another form than a
// text. They are those of the walk, with its failures, but for these: const members may be read, names that lead
// nowhere are failures and never assertions, a map takes a key, and nothing grows that is only read.
//
//     PathSteps steps(owner, type, address, PathSteps::Access::Read);
//     if (!steps.TryStepToField("items") || !steps.TryStepToElement(3))
//         return MessageOf(steps.GetProblem(), token);
//     ... steps.GetAddress(), steps.GetType()
//
// A step that fails leaves the position somewhere; nothing is to be done with it any more. Broken descriptions fail
// assertions, as in a walk.

#include <klKelmScript/private/PathPosition.h>
#include <klObject/types/FieldIndex.h>

namespace kelm
{

class KLKELMSCRIPT_API PathSteps
{
public:
    enum class Access : uint8
    {
        Read,  // raises the read barrier where a step has led, if an object owns it
        Alter, // to what will be written, if it is there
        Write, // lets dynamic arrays grow and inserts the keys of maps
    };

    // From a variable. The owner may be null, of what lies in no object. The address must not be.
    PathSteps(const ptr<IObject>& owner, const ReflectionByteCode& type, void* address, Access access,
              bool isPartOfConst = false)
        : m_position{owner, type, static_cast<char*>(address)}, m_access(access), m_isPartOfConst(isPartOfConst)
    {
    }

    // From an object itself, which has no byte code.
    PathSteps(const ptr<IObject>& object, Access access) : PathSteps(object, {}, object.self(), access) {}

    // Through an optional, a pointer or a variant of the standard library's to what it holds; steps to fields and
    // elements do so too. False where that is nothing.
    bool TryEnterChoices();

    // What can be done there: a value leads nowhere, and so does what TryEnterChoices would enter.
    enum class Way : uint8
    {
        Nowhere,
        Fields, // of an instance, or of the object that a handle designates
        Elements,
        Keys,
    };
    Way GetWay() const;
    static Way GetWayFrom(const ReflectionByteCode& type); // of that type, without what stands before it

    // From a handle to the object that it designates, which has no byte code then; from an instance nowhere. The class
    // of either; null where there is none.
    const ReflectedClass* TryEnterInstance();

    // To a model field of the instance there, or of the object that the handle there designates.
    bool TryStepToField(SubString name);

    // The field to which the last step has led, and the class that lists it.
    const PathField& GetField() const { return m_field; }

    // To an element of the container there; GetElementCount tells how many there are.
    bool TryStepToElement(int64 index);
    ssize_t GetElementCount() const;

    // To what is stored in the map there under a key, a variable of GetKeyType, which may be moved from. In a set to
    // the key itself, which must not be written.
    bool TryStepToPayload(void* key);
    ReflectionByteCode GetKeyType() const;

    const PathProblem& GetProblem() const { return m_problem; } // of the step that has failed

    const ptr<IObject>& GetOwner() const { return m_position.m_obj; }
    const ReflectionByteCode& GetType() const { return m_position.m_rbc; } // as it is declared
    void* GetAddress() const { return m_position.m_data; }

    // Whether what is there, or what it is a part of, must not be written.
    bool IsConst() const;

private:
    // The type there without what stands before it; null for an object itself.
    ReflectionByteCode GetUnderlyingType() const;
    bool TryStepTo(const ReflectedClass& rc, SubString name);
    bool Fail(PathFault fault, ConstStringZ subject = nullptr, int64 index = 0);
    bool Arrive();

    PathPosition m_position;
    const TypeLead* m_lead = nullptr; // of the field there, if that is where the last step has led
    PathField m_field;
    PathProblem m_problem{};
    Access m_access;
    bool m_isPartOfConst;
};

} // namespace kelm
