#pragma once

// A program's classes with members of our own types: those that the front door's rules read in other ways than the
// standard's.

#include <kelm/kelm.h>

#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <utility>

namespace own
{

using Choice = kelm::xvariant<kelm::int32, kelm::xstring, kelm::xvector<kelm::int32>>;

struct Person
{
    kelm::xstring name;
};

struct Holder
{
    kelm::xmap<kelm::int32, kelm::xvector<kelm::int32>> map;
    Choice choice;
    kelm::pref<Person> owner;
    std::pair<kelm::int32, bool> both;
    kelm::int32 cached = 0; // an ordinary field
};

// More members than a word has bits.
struct Wide
{
    kelm::int32 m0 = 0, m1 = 0, m2 = 0, m3 = 0, m4 = 0, m5 = 0, m6 = 0, m7 = 0, m8 = 0, m9 = 0, m10 = 0, m11 = 0,
                m12 = 0, m13 = 0, m14 = 0, m15 = 0, m16 = 0, m17 = 0, m18 = 0, m19 = 0, m20 = 0, m21 = 0, m22 = 0,
                m23 = 0, m24 = 0, m25 = 0, m26 = 0, m27 = 0, m28 = 0, m29 = 0, m30 = 0, m31 = 0, m32 = 0, m33 = 0,
                m34 = 0, m35 = 0, m36 = 0, m37 = 0, m38 = 0, m39 = 0, m40 = 0, m41 = 0, m42 = 0, m43 = 0, m44 = 0,
                m45 = 0, m46 = 0, m47 = 0, m48 = 0, m49 = 0, m50 = 0, m51 = 0, m52 = 0, m53 = 0, m54 = 0, m55 = 0,
                m56 = 0, m57 = 0, m58 = 0, m59 = 0, m60 = 0, m61 = 0, m62 = 0, m63 = 0, m64 = 0, m65 = 0;
};

} // namespace own

KELM_VARIANT(own::Choice, "int32", "string", "list")
KELM_CLASS(own::Person, kelm::Persistable(), KELM_MODEL(name))
KELM_CLASS(own::Holder, KELM_MODEL(map), KELM_MODEL(choice), KELM_MODEL(owner), KELM_MODEL(both), KELM_FIELD(cached))
KELM_CLASS(own::Wide, KELM_MODEL(m0), KELM_MODEL(m1), KELM_MODEL(m2), KELM_MODEL(m3), KELM_MODEL(m4), KELM_MODEL(m5),
           KELM_MODEL(m6), KELM_MODEL(m7), KELM_MODEL(m8), KELM_MODEL(m9), KELM_MODEL(m10), KELM_MODEL(m11),
           KELM_MODEL(m12), KELM_MODEL(m13), KELM_MODEL(m14), KELM_MODEL(m15), KELM_MODEL(m16), KELM_MODEL(m17),
           KELM_MODEL(m18), KELM_MODEL(m19), KELM_MODEL(m20), KELM_MODEL(m21), KELM_MODEL(m22), KELM_MODEL(m23),
           KELM_MODEL(m24), KELM_MODEL(m25), KELM_MODEL(m26), KELM_MODEL(m27), KELM_MODEL(m28), KELM_MODEL(m29),
           KELM_MODEL(m30), KELM_MODEL(m31), KELM_MODEL(m32), KELM_MODEL(m33), KELM_MODEL(m34), KELM_MODEL(m35),
           KELM_MODEL(m36), KELM_MODEL(m37), KELM_MODEL(m38), KELM_MODEL(m39), KELM_MODEL(m40), KELM_MODEL(m41),
           KELM_MODEL(m42), KELM_MODEL(m43), KELM_MODEL(m44), KELM_MODEL(m45), KELM_MODEL(m46), KELM_MODEL(m47),
           KELM_MODEL(m48), KELM_MODEL(m49), KELM_MODEL(m50), KELM_MODEL(m51), KELM_MODEL(m52), KELM_MODEL(m53),
           KELM_MODEL(m54), KELM_MODEL(m55), KELM_MODEL(m56), KELM_MODEL(m57), KELM_MODEL(m58), KELM_MODEL(m59),
           KELM_MODEL(m60), KELM_MODEL(m61), KELM_MODEL(m62), KELM_MODEL(m63), KELM_MODEL(m64),
           KELM_MODEL(m65).Required())
