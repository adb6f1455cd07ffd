// hidutil: installs key mappings in the kernel's keymaps of the keyboards and lists keyboards,
// answering like the macOS command of the same name.
#include <iostream>
#include <string>
#include <vector>

#include "hidutil/Command.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/RecordStore.h"

int main(int argc, char** argv) {
    using namespace keyvane::hidutil;
    std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    EvdevDeviceSource devices;
    return runCommand(args, devices, RecordStore::defaultFolder(), std::cout, std::cerr);
}
