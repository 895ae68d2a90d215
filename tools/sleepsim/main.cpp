#include <iostream>
#include <string>
#include <vector>

#include "sim_cli.h"

int main(int argc, char* argv[])
{
    const std::vector<std::string> args(argv + 1, argv + argc);
    return OHOS::Sim::RunSleepsimCli(args, std::cout, std::cerr);
}
