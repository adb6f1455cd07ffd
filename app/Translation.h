#pragma once

class QLocale;

namespace keyvane {

// Keyvane's own words, and Qt's in its standard buttons and file dialogs, in the language of
// `locale` where Keyvane has a translation for it; English otherwise. Needs the application object;
// the translators belong to it.
void installTranslators(const QLocale& locale);

}  // namespace keyvane
