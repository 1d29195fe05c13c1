#pragma once

// The classes whose objects the benchmarks read, write, walk and collect.

#include <klObject/containers/xmap.h>
#include <klObject/containers/xvariant.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/GcObject.h>
#include <klUtils/types.h>
#include <klUtils/xstring.h>
#include <klUtils/xvector.h>

#include <array>

namespace sample
{

struct Integers
{
    kelm::xvector<kelm::int64> values;
};

struct Doubles
{
    kelm::xvector<double> values;
};

enum class Colour : kelm::int32
{
    RED,
    GREEN,
    BLUE,
    BLACK
};

struct Record
{
    kelm::xstring name;
    kelm::int64 id = 0;
    double x = 0;
    double y = 0;
    double z = 0;
    Colour colour = Colour::RED;
    kelm::int32 width = 0;
    kelm::int32 height = 0;
    kelm::int32 depth = 0;
};

struct Records
{
    kelm::xvector<Record> values;
};

struct Counts
{
    kelm::xmap<kelm::xstring, kelm::int64> values;
};

// .items[3].name and .scene.nodes[2].mesh.parts[1].weight

// Names of 8, of 9 and of 24 characters.
struct Settings
{
    kelm::int32 interval = 0;
    kelm::int32 intervals = 0;
    kelm::int32 maximum_interval_in_days = 0;
};

struct Part
{
    kelm::xstring label;
    double weight = 0;
};

struct Mesh
{
    kelm::int32 triangles = 0;
    kelm::xvector<Part> parts;
};

struct Node
{
    kelm::int32 id = 0;
    Mesh mesh;
};

struct Scene
{
    kelm::xstring title;
    kelm::xvector<Node> nodes;
};

struct Item
{
    kelm::int32 id = 0;
    kelm::xstring name;
};

struct Document
{
    kelm::xvector<Item> items;
    Scene scene;
};

// The same tree where every class has the model of a member.

struct OfPart
{
    Part part;
};
struct MeshOfParts
{
    kelm::int32 triangles = 0;
    kelm::xvector<OfPart> parts;
};
struct OfMesh
{
    MeshOfParts mesh;
};
struct NodeOfMesh
{
    kelm::int32 id = 0;
    OfMesh mesh;
};
struct OfNode
{
    NodeOfMesh node;
};
struct SceneOfNodes
{
    kelm::xstring title;
    kelm::xvector<OfNode> nodes;
};
struct OfScene
{
    SceneOfNodes scene;
};
struct DocumentOfScene
{
    OfScene scene;
};
struct OfDocument
{
    DocumentOfScene document;
};

// Classes with few and with many members.

#define BENCH_TEN_MEMBERS(D)                                                                                           \
    kelm::int32 m##D##0 = 0, m##D##1 = 0, m##D##2 = 0, m##D##3 = 0, m##D##4 = 0, m##D##5 = 0, m##D##6 = 0,             \
                m##D##7 = 0, m##D##8 = 0, m##D##9 = 0;

struct Five
{
    kelm::int32 m00 = 0, m01 = 0, m02 = 0, m03 = 0, m04 = 0;
};

struct Hundred
{
    BENCH_TEN_MEMBERS(0)
    BENCH_TEN_MEMBERS(1)
    BENCH_TEN_MEMBERS(2)
    BENCH_TEN_MEMBERS(3)
    BENCH_TEN_MEMBERS(4)
    BENCH_TEN_MEMBERS(5)
    BENCH_TEN_MEMBERS(6)
    BENCH_TEN_MEMBERS(7)
    BENCH_TEN_MEMBERS(8)
    BENCH_TEN_MEMBERS(9)
};

#undef BENCH_TEN_MEMBERS

struct Fives
{
    kelm::xvector<Five> values;
};

struct Hundreds
{
    kelm::xvector<Hundred> values;
};

// A link of a chain of objects.
struct Link
{
    kelm::int64 number = 0;
    kelm::ptr<kelm::IObject> next;
};

// A vector of each kind of value.

struct Point
{
    double x = 0;
    double y = 0;
};

using Extent = kelm::xvariant<double, Point>;

struct Kinds
{
    kelm::xvector<bool> bools;
    kelm::xvector<kelm::int8> int8s;
    kelm::xvector<kelm::uint16> uint16s;
    kelm::xvector<kelm::int32> int32s;
    kelm::xvector<kelm::int64> int64s;
    kelm::xvector<kelm::uint64> uint64s;
    kelm::xvector<float> float32s;
    kelm::xvector<double> float64s;
    kelm::xvector<char> characters;
    kelm::xvector<kelm::xstring> strings;
    kelm::xvector<kelm::xstring16> wideStrings;
    kelm::xvector<Colour> colours;
    kelm::xvector<Point> points;
    kelm::xvector<Extent> extents;
    kelm::xvector<std::array<kelm::int32, 4>> arrays;
    kelm::xvector<kelm::xvector<kelm::int32>> vectors;
    kelm::xvector<kelm::xmap<kelm::int32, kelm::int32>> maps;
    kelm::xvector<kelm::ptr<kelm::IObject>> objects;
};

} // namespace sample

KELM_CLASS(sample::Integers, KELM_MODEL(values))
KELM_CLASS(sample::Doubles, KELM_MODEL(values))
KELM_ENUM(sample::Colour, KELM_VALUE(RED), KELM_VALUE(GREEN), KELM_VALUE(BLUE), KELM_VALUE(BLACK))
KELM_CLASS(sample::Record, KELM_MODEL(name), KELM_MODEL(id), KELM_MODEL(x), KELM_MODEL(y), KELM_MODEL(z),
           KELM_MODEL(colour), KELM_MODEL(width), KELM_MODEL(height), KELM_MODEL(depth))
KELM_CLASS(sample::Records, KELM_MODEL(values))
KELM_CLASS(sample::Counts, KELM_MODEL(values))
KELM_CLASS(sample::Settings, KELM_MODEL(interval), KELM_MODEL(intervals), KELM_MODEL(maximum_interval_in_days))
KELM_CLASS(sample::Part, KELM_MODEL(label), KELM_MODEL(weight))
KELM_CLASS(sample::Mesh, KELM_MODEL(triangles), KELM_MODEL(parts))
KELM_CLASS(sample::Node, KELM_MODEL(id), KELM_MODEL(mesh))
KELM_CLASS(sample::Scene, KELM_MODEL(title), KELM_MODEL(nodes))
KELM_CLASS(sample::Item, KELM_MODEL(id), KELM_MODEL(name))
KELM_CLASS(sample::Document, KELM_MODEL(items), KELM_MODEL(scene))
KELM_CLASS(sample::OfPart, KELM_MODEL_OF(part))
KELM_CLASS(sample::MeshOfParts, KELM_MODEL(triangles), KELM_MODEL(parts))
KELM_CLASS(sample::OfMesh, KELM_MODEL_OF(mesh))
KELM_CLASS(sample::NodeOfMesh, KELM_MODEL(id), KELM_MODEL(mesh))
KELM_CLASS(sample::OfNode, KELM_MODEL_OF(node))
KELM_CLASS(sample::SceneOfNodes, KELM_MODEL(title), KELM_MODEL(nodes))
KELM_CLASS(sample::OfScene, KELM_MODEL_OF(scene))
KELM_CLASS(sample::DocumentOfScene, KELM_MODEL(scene))
KELM_CLASS(sample::OfDocument, KELM_MODEL_OF(document))
KELM_CLASS(sample::Five, KELM_MODEL(m00), KELM_MODEL(m01), KELM_MODEL(m02), KELM_MODEL(m03), KELM_MODEL(m04))
#define BENCH_TEN_MODELS(D)                                                                                            \
    KELM_MODEL(m##D##0), KELM_MODEL(m##D##1), KELM_MODEL(m##D##2), KELM_MODEL(m##D##3), KELM_MODEL(m##D##4),           \
        KELM_MODEL(m##D##5), KELM_MODEL(m##D##6), KELM_MODEL(m##D##7), KELM_MODEL(m##D##8), KELM_MODEL(m##D##9)
KELM_CLASS(sample::Hundred, BENCH_TEN_MODELS(0), BENCH_TEN_MODELS(1), BENCH_TEN_MODELS(2), BENCH_TEN_MODELS(3),
           BENCH_TEN_MODELS(4), BENCH_TEN_MODELS(5), BENCH_TEN_MODELS(6), BENCH_TEN_MODELS(7), BENCH_TEN_MODELS(8),
           BENCH_TEN_MODELS(9))
#undef BENCH_TEN_MODELS
KELM_CLASS(sample::Fives, KELM_MODEL(values))
KELM_CLASS(sample::Hundreds, KELM_MODEL(values))
KELM_CLASS(sample::Link, KELM_MODEL(number), KELM_MODEL(next))
KELM_CLASS(sample::Point, KELM_MODEL(x), KELM_MODEL(y))
KELM_VARIANT(sample::Extent, "radius", "point")
KELM_CLASS(sample::Kinds, KELM_MODEL(bools), KELM_MODEL(int8s), KELM_MODEL(uint16s), KELM_MODEL(int32s),
           KELM_MODEL(int64s), KELM_MODEL(uint64s), KELM_MODEL(float32s), KELM_MODEL(float64s), KELM_MODEL(characters),
           KELM_MODEL(strings), KELM_MODEL(wideStrings), KELM_MODEL(colours), KELM_MODEL(points), KELM_MODEL(extents),
           KELM_MODEL(arrays), KELM_MODEL(vectors), KELM_MODEL(maps), KELM_MODEL(objects))

namespace kelm::bench
{

// Registers the system and the classes above; later calls do nothing.
void RegisterBenchTypes();

// An object that a benchmark made: everything is collected when it goes.
class Collected
{
public:
    explicit Collected(ptr<IObject> object) : m_object(object) {}
    Collected(const Collected&) = delete;
    Collected& operator=(const Collected&) = delete;
    ~Collected() { CollectGarbage(); }

    template <class T>
    const T& As() const
    {
        return *static_cast<const T*>(m_object.self());
    }
    explicit operator bool() const { return bool(m_object); }

private:
    ptr<IObject> m_object;
};

// Reads a data source; throws std::runtime_error with the error where it has one.
ptr<IObject> ReadObject(const xstring& text);

} // namespace kelm::bench
