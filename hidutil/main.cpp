// hidutil: installs key mappings in the kernel's keymaps of the keyboards and lists keyboards,
// answering like the macOS command of the same name. Where the keymap service is installed, the
// command is handed to it; otherwise it runs here, with the access to the keyboards that the
// group 'input' gives.
#include <iostream>
#include <string>
#include <vector>

#include "hidutil/Command.h"
#include "hidutil/EvdevDevices.h"
#include "hidutil/RecordStore.h"
#include "hidutil/ServiceClient.h"

int main(int argc, char** argv) {
    using namespace keyvane::hidutil;
    std::vector<std::string> args(argv + (argc > 0 ? 1 : 0), argv + argc);
    if (const auto command = parseCommandLine(args))
        if (const auto status = runThroughService(*command, std::cout, std::cerr))
            return *status;
    EvdevDeviceSource devices;
    return runCommand(args, devices, RecordStore::defaultFolder(), std::cout, std::cerr);
}
