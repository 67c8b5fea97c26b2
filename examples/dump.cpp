// Prints every item of a server with its value.
//   dump opcda://localhost/Korvex.Simulation.1
#include <iostream>
#include <string>
#include <vector>

#include <korvex/client.h>

void dump(Korvex::Connection& plant, const std::string& branch) {
    std::vector<std::string> items;
    for (const Korvex::Element& element : plant.browse(branch)) {
        if (element.isItem) items.push_back(element.itemId);
        if (element.hasChildren) dump(plant, element.itemId);
    }
    if (items.empty()) return;
    for (const Korvex::Reading& reading : plant.read(items)) {
        std::cout << reading.name << " = " << (reading ? reading.text() : reading.message()) << '\n';
    }
}

int main(int argc, char** argv) try {
    if (argc != 2) return std::cerr << "usage: dump URL\n", 2;
    Korvex::Connection plant(argv[1]);
    dump(plant, "");
} catch (const std::exception& error) {
    return std::cerr << error.what() << '\n', 1;
}
