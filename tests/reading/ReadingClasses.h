#pragma once

// Classes that reading tests fill besides the handmade ones, described as programs describe theirs: a record as
// configuration files hold them, and a document that knows in which order its instances were created and tells its
// contents when it is collected, so that objects which nothing refers to any more are seen too.

#include <klObject/containers/xdynarray.h>
#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/GcObject.h>
#include <klObject/objects/prefbase.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>
#include <support/HandmadeClasses.h>

#include <map>
#include <string>

namespace kelm::reference
{

// What collected documents told, by the order of their creation, where they are asked to. Begun anew for each case.
struct Documents
{
    bool m_isTelling = false;
    int m_created = 0;
    std::map<int, std::string> m_told;
};
inline Documents s_documents;

} // namespace kelm::reference

namespace reading
{

using namespace kelm;

enum class Shade : int32
{
    NONE = 0,
    DARK = 7,
    MIDDLING = -2,
    PALE = 1000000,
};

struct Place
{
    float64 x = 0;
    float64 y = 0;
    xstring label;
};

struct Record
{
    int64 id = 0;
    xstring name;
    float64 score = 0.5;
    bool isActive = false;
    Shade shade = Shade::NONE;
    xvector<int32> sizes;
    xvector<xstring> tags;
    Place origin;
    xvector<Place> places;
    uint16 port = 0;
    float32 ratio = 0;
    char letter = 'a';
    xstring a_rather_long_name_of_a_member_that_fills_blocks;
    int32 ordinary = 1;
};

using Choice = xvariant<int32, xstring, Place, xvector<float64>, Record>;

struct Document
{
    Document() : m_serial(++reference::s_documents.m_created) {}
    void OnGarbageCollect();

    xstring title = "untitled";
    xvector<Record> records;
    xmap<xstring, int64> numbers;
    xmap<int64, Record> byId;
    xmap<xstring, xvector<xstring>> lists;
    xmap<float64, xmap<uint8, xstring>> nested;
    Choice choice;
    xvector<Choice> choices;
    Place corners[3];
    xdynarray<float64> samples;
    xvector<xvector<float64>> matrix;
    xvector<Shade> shades;
    xvector<bool> flags;
    xstring16 wide;
    pref<Document> owner;
    ptr<IObject> next;
    xvector<ptr<IObject>> children;
    int32 dropped = -1;
    int64 last = 0;

    const int m_serial;
};

} // namespace reading

KELM_ENUM(reading::Shade, KELM_VALUE(NONE), KELM_VALUE(DARK), KELM_VALUE(MIDDLING), KELM_VALUE(PALE))
KELM_CLASS(reading::Place, KELM_MODEL(x), KELM_MODEL(y), KELM_MODEL(label))
KELM_CLASS(reading::Record, KELM_MODEL(id), KELM_MODEL(name), KELM_MODEL(score), KELM_MODEL(isActive),
           KELM_MODEL(shade), KELM_MODEL(sizes), KELM_MODEL(tags), KELM_MODEL(origin), KELM_MODEL(places),
           KELM_MODEL(port), KELM_MODEL(ratio), KELM_MODEL(letter),
           KELM_MODEL(a_rather_long_name_of_a_member_that_fills_blocks), KELM_FIELD(ordinary))
KELM_VARIANT(reading::Choice, "reading::number", "reading::text", "reading::Place", "reading::list", "reading::Record")
KELM_CLASS(reading::Document, kelm::Persistable(), KELM_MODEL(title), KELM_MODEL(records), KELM_MODEL(numbers),
           KELM_MODEL(byId), KELM_MODEL(lists), KELM_MODEL(nested), KELM_MODEL(choice), KELM_MODEL(choices),
           KELM_MODEL(corners), KELM_MODEL(samples), KELM_MODEL(matrix), KELM_MODEL(shades), KELM_MODEL(flags),
           KELM_MODEL(wide), KELM_MODEL(owner), KELM_MODEL(next), KELM_MODEL(children),
           KELM_MODEL(dropped).DroppedIn(3), KELM_FIELD(last))

namespace kelm::reference
{

// A test with all classes registered, that leaves no object behind.
class ReadingTest : public HandmadeTest
{
protected:
    ReadingTest()
    {
        static const bool s_isRegistered =
            (RegisterTypes<reading::Shade, reading::Place, reading::Record, reading::Choice, reading::Document>(
                 nullptr),
             true);
        static_cast<void>(s_isRegistered);
    }
};

} // namespace kelm::reference
