#include "ObjectTypes.h"

#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/klKelmScript.h>

#include <stdexcept>

namespace kelm::bench
{

void RegisterBenchTypes()
{
    static const bool isDone = []
    {
        using namespace sample;
        Register_Project_klKelmScript();
        RegisterTypes<Integers, Doubles, Colour, Record, Records, Counts, Settings, Part, Mesh, Node, Scene, Item,
                      Document, OfPart, MeshOfParts, OfMesh, NodeOfMesh, OfNode, SceneOfNodes, OfScene, DocumentOfScene,
                      OfDocument, Five, Hundred, Fives, Hundreds, Link, Point, Extent, Kinds>(nullptr);
        return true;
    }();
    static_cast<void>(isDone);
}

ptr<IObject> ReadObject(const xstring& text)
{
    LexScannerException error("", LSToken());
    const ptr<IObject> object = ParseDataSource(text, error);
    if (!object)
        throw std::runtime_error(error.what());
    return object;
}

} // namespace kelm::bench
