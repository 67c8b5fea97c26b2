// Writes a setpoint and waits until the plant has followed it.
//   setpoint opcda://localhost/Korvex.Simulation.1 Register.Double 21.5 Register.Double
#include <cmath>
#include <cstdlib>
#include <future>
#include <iostream>

#include <korvex/client.h>

int main(int argc, char** argv) try {
    if (argc != 5) return std::cerr << "usage: setpoint URL SETPOINT VALUE MEASUREMENT\n", 2;
    const double wanted = std::atof(argv[3]);
    Korvex::Connection plant(argv[1]);
    if (const Korvex::ItemResult written = plant.write(argv[2], wanted); !written) {
        return std::cerr << written.message() << '\n', 1;
    }
    std::promise<void> reached;
    const auto subscription = plant.subscribe({argv[4]}, [&, told = false](const Korvex::Reading& reading) mutable {
        const double* const value = reading.as<double>();
        std::cout << argv[4] << " = " << reading.text() << std::endl;
        if (value && std::abs(*value - wanted) < 0.1 && !std::exchange(told, true)) reached.set_value();
    });
    return reached.get_future().wait_for(std::chrono::minutes(1)) == std::future_status::ready ? 0 : 1;
} catch (const std::exception& error) {
    return std::cerr << error.what() << '\n', 1;
}
