#pragma once

// Types for the tests of writing: what begins with elements of its own, what no text can say, and descriptors by hand.

#include <host/klObject/DescribedTypes.h>

#include <limits>
#include <optional>
#include <stdexcept>
#include <variant>

// A name that a data source cannot give.
struct null
{
    int m_number = 0;
};

namespace written
{

// Begins with elements of its own.
struct Prefilled
{
    kelm::xvector<int> m_list = {1, 2};
    kelm::xmap<kelm::xstring, kelm::xvector<int>> m_map = {{"kept", {7}}};
};

struct Holder
{
    kelm::xvector<Prefilled> m_elements;
    kelm::xmap<kelm::xvector<int>, int> m_byList;
    kelm::xvector<kelm::pref<described::Person>> m_references;
    kelm::xvector<kelm::xset<int>> m_sets;
};

// Begins with what a text cannot take away.
struct Gifted
{
    Gifted()
    {
        const kelm::ptr<kelm::IObject> person = kelm::CreateGcObject<described::Person>();
        kelm::RegisterGcObject(person);
        m_gift.Set(kelm::QueryPersistable(person));
    }

    kelm::pref<described::Person> m_gift;
};

// Begins with texts, and a number that a text can take away.
struct Labelled
{
    kelm::xvector<kelm::xstring> m_labels = {"first"};
    std::optional<int> m_number = 5;
    kelm::xvector<kelm::xvector<int>> m_rows[2];
};

// Refuses to be made of a number, so that a variant of it is left without a value.
struct Breaking
{
    Breaking() = default;
    explicit Breaking(double) { throw std::runtime_error("refused"); }

    kelm::xstring m_x;
};

struct Opaque
{
    int m_hidden = 0;
};

struct OpaqueHolder
{
    Opaque m_opaque;
};

// "a::number" is hidden behind the alternative before it.
using Ambiguous = kelm::xvariant<int, double, double>;
using Named = kelm::xvariant<int, double>;

// Begins with an element that is not equal to itself.
struct Measured
{
    kelm::xvector<double> m_samples = {std::numeric_limits<double>::quiet_NaN()};
};

struct LongNames
{
    int m_fifteenLetter = 1;
    double m_sixteenLetters = 2;
    bool m_aMemberWhoseNameIsLongerThanMost = true;
    kelm::xstring m_aMemberWhoseNameIsLongerThanSixtyFourCharactersWhichIsAllThatIsSpare = "text";
};

// Descriptors by hand may hold names that describing a type refuses.
inline const kelm::ReflectedEnum& GetGrade()
{
    static constexpr kelm::ConstStringZ s_names[] = {"GOOD", "VERY GOOD", ""};
    static constexpr kelm::ReflectedEnum s_enum = {.m_name = "written::Grade", .m_count = 3, .m_strings = s_names};
    return s_enum;
}

inline const kelm::ReflectedVariant& GetOddlyNamed()
{
    static constexpr kelm::uint8 s_int32[] = {kelm::FT_INT32};
    static constexpr kelm::ReflectedField s_fields[] = {
        {"a::number", 4, s_int32}, {"vector<int>", 4, s_int32}, {"value", 4, s_int32}};
    static constexpr kelm::ReflectedVariant s_variant = {
        .m_name = "written::OddlyNamed", .m_size = 8, .m_fields = s_fields, .m_numFields = 3};
    return s_variant;
}

inline const kelm::ReflectedEnum& GetTwins()
{
    static constexpr kelm::ConstStringZ s_names[] = {"CASTOR", "POLLUX", "CASTOR"};
    static constexpr kelm::ReflectedEnum s_enum = {.m_name = "written::Twins", .m_count = 3, .m_strings = s_names};
    return s_enum;
}

// Classes whose members reading cannot tell apart, or not find.
inline constexpr kelm::uint8 s_int32Code[] = {kelm::FT_INT32};
inline constexpr kelm::ReflectedModelField s_noIdentifier[] = {{"a", 0, s_int32Code, 0, -1, nullptr},
                                                               {"a b", 4, s_int32Code, 0, -1, nullptr}};
inline constexpr kelm::ReflectedModelField s_twice[] = {{"a", 0, s_int32Code, 0, -1, nullptr},
                                                        {"b", 4, s_int32Code, 0, -1, nullptr},
                                                        {"a", 8, s_int32Code, 0, -1, nullptr}};
inline constexpr kelm::ReflectedModelField s_onceDropped[] = {{"a", 0, s_int32Code, 0, 1, nullptr},
                                                              {"a", 4, s_int32Code, 1, -1, nullptr}};
inline constexpr kelm::ReflectedField s_ordinaryA[] = {{"b", 8, s_int32Code}, {"a", 4, s_int32Code}};
inline constexpr kelm::ReflectedField s_ordinaryTwice[] = {{"x", 0, s_int32Code}, {"x", 4, s_int32Code}};

constexpr kelm::ReflectedClass ClassByHand(const char* name, const kelm::ReflectedModelField* modelFields,
                                           kelm::ssize_t numModelFields, const kelm::ReflectedField* fields = nullptr,
                                           kelm::ssize_t numFields = 0)
{
    kelm::ReflectedClass rc;
    rc.m_name = name;
    rc.m_size = 16;
    rc.m_modelFields = modelFields;
    rc.m_numModelFields = numModelFields;
    rc.m_fields = fields;
    rc.m_numFields = numFields;
    return rc;
}

inline const kelm::ReflectedClass s_classesByHand[] = {
    ClassByHand("written::NoIdentifier", s_noIdentifier, 2), ClassByHand("written::Twice", s_twice, 3),
    ClassByHand("written::OnceDropped", s_onceDropped, 2),
    ClassByHand("written::Hidden", s_noIdentifier, 1, s_ordinaryA, 2),
    ClassByHand("written::OrdinaryTwice", nullptr, 0, s_ordinaryTwice, 2)};

struct Unregistered
{
    int m_number = 0;
};

} // namespace written

KELM_CLASS(written::Unregistered, KELM_MODEL(m_number))
KELM_CLASS(written::Prefilled, KELM_MODEL(m_list), KELM_MODEL(m_map))
KELM_CLASS(written::Holder, KELM_MODEL(m_elements), KELM_MODEL(m_byList), KELM_MODEL(m_references), KELM_MODEL(m_sets))
KELM_CLASS(written::Gifted, KELM_MODEL(m_gift))
KELM_CLASS(written::Labelled, KELM_MODEL(m_labels), KELM_MODEL(m_number), KELM_MODEL(m_rows))
KELM_CLASS(written::Breaking, KELM_MODEL(m_x))
KELM_CLASS(written::Opaque, kelm::NotCreatable())
KELM_CLASS(written::OpaqueHolder, KELM_MODEL(m_opaque))
KELM_CLASS(written::Measured, KELM_MODEL(m_samples))
KELM_CLASS(written::LongNames, KELM_MODEL(m_fifteenLetter), KELM_MODEL(m_sixteenLetters),
           KELM_MODEL(m_aMemberWhoseNameIsLongerThanMost),
           KELM_MODEL(m_aMemberWhoseNameIsLongerThanSixtyFourCharactersWhichIsAllThatIsSpare))
KELM_CLASS(null, KELM_MODEL(m_number))
KELM_VARIANT(written::Ambiguous, "a::number", "b::number", "number")
KELM_VARIANT(written::Named, "kelm::int32", "kelm::float64")
