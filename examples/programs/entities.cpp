// A game's entities: objects that refer to each other by handles, of classes that the text names, kept by what reaches
// them.

#include <kelm/kelm.h>

#include <iostream>
#include <string>
#include <vector>

struct Weapon
{
    std::string name;
    int damage = 1;
};
struct Hero
{
    std::string name;
    kelm::ptr<kelm::IObject> weapon;
};
struct Dragon
{
    int heads = 1;
};
struct World
{
    std::vector<kelm::ptr<kelm::IObject>> entities;
};

KELM_DESCRIBE(Weapon, name, damage)
KELM_DESCRIBE(Hero, name, weapon)
KELM_DESCRIBE(Dragon, heads)
KELM_DESCRIBE(World, entities)

int main()
try
{
    kelm::Register<Weapon, Hero, Dragon>();
    const auto world = kelm::Read<kelm::Root<World>>(R"(World {
        entities = [
            Hero { name = "Ayla" weapon = Weapon { name = "bow" damage = 7 } },
            Dragon { heads = 3 }
        ]
    })");
    for (const auto& handle : world->entities)
    {
        const kelm::Object entity(handle);
        std::cout << entity.GetClassName();
        if (entity.Is<Hero>())
            std::cout << ' ' << entity.As<Hero>().name << " with a " << kelm::Get<std::string>(entity, ".weapon.name");
        std::cout << '\n';
    }
    world->entities.clear();
    std::cout << kelm::CollectGarbage().m_lastFreed << " objects were of no use any more\n";
    kelm::Object(kelm::Read<kelm::Object>("Dragon { heads = 2 }")).As<Hero>();
}
catch (const kelm::Error& e)
{
    std::cout << e.what() << '\n';
}
