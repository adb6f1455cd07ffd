#include "platform/UnicodeText.h"

#include <QChar>
#include <QList>
#include <QString>
#include <QTextBoundaryFinder>

namespace keyvane::unicode {

bool isAlphanumeric(char32_t codePoint) {
    switch (QChar::category(codePoint)) {
        case QChar::Mark_NonSpacing:
        case QChar::Mark_SpacingCombining:
        case QChar::Mark_Enclosing:
        case QChar::Number_DecimalDigit:
        case QChar::Number_Letter:
        case QChar::Number_Other:
        case QChar::Letter_Uppercase:
        case QChar::Letter_Lowercase:
        case QChar::Letter_Titlecase:
        case QChar::Letter_Modifier:
        case QChar::Letter_Other:
            return true;
        default:
            return false;
    }
}

std::vector<std::string> graphemeClusters(std::string_view utf8) {
    const QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()));
    std::vector<std::string> clusters;
    QTextBoundaryFinder finder(QTextBoundaryFinder::Grapheme, text);
    qsizetype start = 0;
    while (finder.toNextBoundary() != -1) {
        const qsizetype end = finder.position();
        clusters.push_back(text.mid(start, end - start).toStdString());
        start = end;
    }
    return clusters;
}

std::u32string canonicalCodePoints(std::string_view utf8) {
    const QString text = QString::fromUtf8(utf8.data(), static_cast<qsizetype>(utf8.size()))
                             .normalized(QString::NormalizationForm_C);
    std::u32string result;
    for (const char32_t codePoint : text.toUcs4())
        result.push_back(codePoint);
    return result;
}

}  // namespace keyvane::unicode
