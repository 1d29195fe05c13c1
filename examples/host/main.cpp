// A host program: describes two classes, loads an object of them from a file, sets a field of it, found by a path, to
// the value of an expression, writes the object, and collects what is no longer reached.      exampleHost soup.kds

#include <klKelmScript/KSParser.h>
#include <klKelmScript/ParseDataSource.h>
#include <klKelmScript/ParseFieldPath.h>
#include <klKelmScript/klKelmScript.h>
#include <klObject/describe/Describe.h>
#include <klObject/objects/Collector.h>
#include <klObject/values/WriteVariable.h>

#include <fstream>
#include <iostream>
#include <iterator>

namespace kitchen
{
struct Ingredient
{
    kelm::xstring name;
    double grams = 0;
};
struct Recipe
{
    kelm::xstring title;
    kelm::int32 servings = 2;
    kelm::xvector<Ingredient> ingredients;
    kelm::ptr<kelm::IObject> sideDish;
};
} // namespace kitchen

KELM_CLASS(kitchen::Ingredient, KELM_MODEL(name), KELM_MODEL(grams))
KELM_CLASS(kitchen::Recipe, KELM_MODEL(title), KELM_MODEL(servings), KELM_MODEL(ingredients), KELM_MODEL(sideDish))

int main(int argc, char** argv)
{
    Register_Project_klKelmScript();
    kelm::RegisterTypes<kitchen::Ingredient, kitchen::Recipe>(nullptr);

    std::ifstream file(argc > 1 ? argv[1] : "");
    const std::string text(std::istreambuf_iterator<char>(file), {});
    kelm::xstring error; // "line 6: Unknown member ..."
    kelm::ReflectionByteCode type;
    kelm::GcRoot recipe(kelm::ParseDataSourceFromString(text.c_str(), error)); // what a root reaches stays alive
    void* const grams =
        recipe.get() ? kelm::NavigatePathToField(recipe.get(), ".ingredients[1].grams", type, true, error) : nullptr;
    if (grams == nullptr)
    {
        std::cerr << "exampleHost: " << error.c_str() << "\n";
        return 1;
    }
    kelm::KSParser parser;
    parser.Init("250 * 6 / 4.0");
    *static_cast<double*>(grams) = parser.ParseValue<double>(true);
    kelm::StringStream out(4096);
    kelm::WriteObject(out, recipe.get(), {4});
    kelm::CastObject<kitchen::Recipe>(recipe.get())->sideDish = nullptr;
    std::cout << out.GetString().c_str() << "\nfreed: " << kelm::CollectGarbage().m_lastFreed << "\n";
}
