// Live tuning of a running program: commands change its variables and tell of them by path, checks included.

#include <kelm/kelm.h>

#include <iostream>
#include <string>

struct Camera
{
    double zoom = 1;
    bool isMirrored = false;
};
struct Game
{
    int lives = 3;
    double gravity = 9.81;
    Camera camera;
};

KELM_CLASS(Camera, KELM_MODEL(zoom).Check([](double zoom) { return zoom > 0; }), KELM_MODEL(isMirrored))
KELM_DESCRIBE(Game, lives, gravity, camera)

int main()
{
    Game game;
    kelm::Scope scope;
    scope.Bind("game", game);

    std::string line;
    while (std::getline(std::cin, line))
        if (line == "show")
            kelm::Visit(game,
                        [](const kelm::Field& field)
                        {
                            if (const kelm::Result<double> number = field.TryGet<double>())
                                std::cout << field.GetPath() << " = " << *number << '\n';
                        });
        else if (const kelm::Result<kelm::Value> value = kelm::TryEvaluate(line, scope))
            std::cout << "ok\n";
        else
            std::cout << value.GetError().what() << '\n';
}
