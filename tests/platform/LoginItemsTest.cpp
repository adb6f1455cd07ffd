#include <gtest/gtest.h>

#include <cstdlib>

#include "platform/LoginItems.h"
#include "tests/support/ReadFile.h"

namespace keyvane {
namespace {

// The session reads the entry's Exec line back into the one program path it must start: a space,
// a percent sign, a dollar or a quote in the install folder must survive that reading.
TEST(LoginItemsTest, TheEntryStartsTheHelperWhereverItIsInstalled) {
    const struct {
        std::string executable, exec;
    } rows[] = {
        {"/usr/bin/keyvane-launcher", R"(Exec="/usr/bin/keyvane-launcher")"},
        {"/opt/My Apps/100% $HOME/keyvane-launcher",
         R"(Exec="/opt/My Apps/100%% \\$HOME/keyvane-launcher")"},
        {R"(/opt/"q"/`x`\y/keyvane-launcher)",
         R"(Exec="/opt/\\"q\\"/\\`x\\`\\\\y/keyvane-launcher")"},
    };
    const auto entry = LoginItems::entryPath("app.keyvane.KeyvaneLauncher");
    std::string error;
    for (const auto& row : rows) {
        ASSERT_TRUE(
            LoginItems::setEnabled("app.keyvane.KeyvaneLauncher", row.executable, true, error))
            << error;
        const std::string text = testing::readFile(entry);
        EXPECT_NE(text.find("\n" + row.exec + "\n"), std::string::npos) << text;
        const std::string validate = "desktop-file-validate '" + entry.string() + "'";
        EXPECT_EQ(std::system(validate.c_str()), 0) << row.executable;
    }
    ASSERT_TRUE(LoginItems::setEnabled("app.keyvane.KeyvaneLauncher", "/x", false, error)) << error;
    EXPECT_FALSE(std::filesystem::exists(entry));
}

}  // namespace
}  // namespace keyvane
