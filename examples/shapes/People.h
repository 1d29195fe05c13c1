#pragma once

// People, and the clubs that they are in. One half of the example module; Garden.h is the other.
//
// Plain C++ classes first, their descriptions behind them. What there is to see here: an enumeration with numbers of
// its own, a nested class, a variant, maps, 16-bit text, a const field, and the two ways to hold another object: the
// interface pointer and the persistent reference.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/IObject.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <variant>

namespace people
{

// The numbers are those of the club's old card index.
enum class Role : kelm::int32
{
    MEMBER = 1,
    TREASURER = 5,
    CHAIR = 9,
};

struct Address
{
    kelm::xstring street;
    kelm::uint16 number = 0;
    kelm::xstring town;
};

// How to reach somebody.
using Contact = kelm::xvariant<std::monostate, kelm::xstring, Address>;

// Persistable: a persistent reference can hold it.
struct Person
{
    kelm::xstring name;
    kelm::xstring16 nativeName; // in the person's own script
    char16_t middleInitial = u' ';
    const kelm::int16 born = 1970; // data sources may give it, nothing changes it afterwards
    Role role = Role::MEMBER;
    bool isActive = true;
    Address home;
    kelm::xmap<kelm::xstring, Contact> contacts; // "work", "weekend" ...
    kelm::ptr<kelm::IObject> partner;
    kelm::pref<Person> mentor;
};

struct Club
{
    kelm::xstring name;
    kelm::int64 balance = 0;     // in cents, below zero when in debt
    kelm::uint32 nextNumber = 1; // of a membership card
    kelm::xvector<kelm::pref<Person>> members;
    kelm::xmap<kelm::int32, kelm::xvector<kelm::xstring>> minutes; // of each year's meetings
};

} // namespace people

KELM_ENUM(people::Role, KELM_VALUE(MEMBER), KELM_VALUE(TREASURER), KELM_VALUE(CHAIR))
KELM_CLASS(people::Address, KELM_MODEL(street), KELM_MODEL(number), KELM_MODEL(town))
KELM_VARIANT(people::Contact, "none", "email", "people::Address")
KELM_CLASS(people::Person, kelm::Persistable(), KELM_MODEL(name), KELM_MODEL(nativeName), KELM_MODEL(middleInitial),
           KELM_MODEL(born), KELM_MODEL(role), KELM_MODEL(isActive), KELM_MODEL(home), KELM_MODEL(contacts),
           KELM_MODEL(partner), KELM_MODEL(mentor))
KELM_CLASS(people::Club, KELM_MODEL(name), KELM_MODEL(balance), KELM_MODEL(nextNumber), KELM_MODEL(members),
           KELM_MODEL(minutes))
