#include <QCoreApplication>
#include <charconv>
#include <chrono>
#include <cstring>
#include <iostream>
#include <string_view>

#include "launcher/KeyvaneLauncher.h"

namespace {

constexpr const char* usage =
    "usage: keyvane-launcher [--wait SECONDS]\n"
    "Starts Keyvane at login, in the background, and waits up to SECONDS (default 60) for it.\n";

}  // namespace

int main(int argc, char** argv) {
    auto patience = std::chrono::milliseconds(keyvane::KeyvaneLauncher::defaultPatience);
    if (argc == 3 && std::strcmp(argv[1], "--wait") == 0) {
        const std::string_view text = argv[2];
        unsigned seconds = 0;
        auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), seconds);
        if (error != std::errc() || end != text.data() + text.size() || seconds == 0) {
            std::cerr << usage;
            return 2;
        }
        patience = std::chrono::seconds(seconds);
    } else if (argc != 1) {
        std::cerr << usage;
        return 2;
    }

    QCoreApplication application(argc, argv);
    keyvane::KeyvaneLauncher launcher(patience);
    switch (launcher.start()) {
        case keyvane::KeyvaneLauncher::Start::Waiting:
            return QCoreApplication::exec();
        case keyvane::KeyvaneLauncher::Start::NothingToDo:
            return 0;
        case keyvane::KeyvaneLauncher::Start::Failed:
            return 1;
    }
    return 1;
}
