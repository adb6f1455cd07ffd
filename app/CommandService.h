#pragma once

#include <QObject>
#include <QStringList>
#include <optional>
#include <string>
#include <vector>

namespace keyvane {

// The running application's side of the command line: a `keyvane` started with options hands its
// command over the session bus, and the application carries it out on its own list, so that the
// window, the stored settings and what is installed stay one.
class CommandService : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "app.keyvane.CommandLine")
  public:
    static constexpr const char* path = "/app/keyvane/CommandLine";
    static constexpr const char* interface = "app.keyvane.CommandLine";

    struct Answer {
        int status = 0;
        std::string output;
        std::string errors;
    };

    explicit CommandService(QObject* parent = nullptr);
    ~CommandService() override;

    // Makes the commands reachable; before the application's name is claimed, so that whoever
    // sees the name can call them.
    void registerOnBus();

    // Asks the running copy to carry out the command that `arguments` give. Nothing, with the
    // reason in `error`, when it does not answer.
    static std::optional<Answer> ask(const std::vector<std::string>& arguments, std::string& error);

  public slots:
    // The bus method: returns the exit status, and what to print in `output` and `errors`.
    Q_SCRIPTABLE int Run(const QStringList& arguments, QString& output, QString& errors);

  private:
    bool registered_ = false;
};

}  // namespace keyvane
