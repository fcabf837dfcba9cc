// kr-adminctl: looks after store files and settings of KR-Admin from the command line.
#include <iostream>
#include <vector>

#include "app/ctl/AdminCtl.h"
#include "platform/registry/regfile/RegFileRegistry.h"

int main(int argc, char** argv) {
    std::ios::sync_with_stdio(false);
    const std::vector<std::string> words(argv + 1, argv + argc);
    try {
        auto registry =
            kr::MakeRegFileRegistry(kr::UserRegistryFolder(), kr::MachineRegistryFolder());
        const int code = kr::RunAdminCtl(words, *registry, std::cout, std::cerr);
        std::cout.flush();
        if (!std::cout) {
            std::cerr << "kr-adminctl: the output can't be written\n";
            return 1;
        }
        return code;
    } catch (const std::exception& error) {
        std::cerr << "kr-adminctl: " << error.what() << '\n';
        return 1;
    }
}
