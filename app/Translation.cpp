#include "app/Translation.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>
#include <memory>

namespace keyvane {
namespace {

bool install(const QLocale& locale, const char* name, const QString& folder) {
    auto translator = std::make_unique<QTranslator>(QCoreApplication::instance());
    if (!translator->load(locale, name, "_", folder))
        return false;
    QCoreApplication::installTranslator(translator.release());
    return true;
}

}  // namespace

void installTranslators(const QLocale& locale) {
    // Qt's own words (OK, Cancel, the file dialog) only in a language Keyvane speaks: a German
    // button under an English alert would be worse than an English one.
    if (install(locale, "keyvane", ":/i18n"))
        install(locale, "qtbase", QLibraryInfo::path(QLibraryInfo::TranslationsPath));
}

}  // namespace keyvane
