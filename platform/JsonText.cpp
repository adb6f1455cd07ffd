#include "platform/JsonText.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>

namespace keyvane {
namespace {

DefaultsValue fromJson(const QJsonValue& json);

DefaultsDictionary fromJsonObject(const QJsonObject& object) {
    DefaultsDictionary result;
    for (auto it = object.begin(); it != object.end(); ++it)
        result.emplace(it.key().toStdString(), fromJson(it.value()));
    return result;
}

DefaultsValue fromJson(const QJsonValue& json) {
    switch (json.type()) {
        case QJsonValue::Bool:
            return {json.toBool()};
        case QJsonValue::Double:
            // Qt keeps integers that JSON wrote without a fraction as 64-bit integers.
            if (json.toVariant().typeId() == QMetaType::LongLong)
                return {static_cast<std::int64_t>(json.toInteger())};
            return {json.toDouble()};
        case QJsonValue::String:
            return {json.toString().toStdString()};
        case QJsonValue::Array: {
            DefaultsArray array;
            for (const QJsonValue& element : json.toArray())
                array.push_back(fromJson(element));
            return {std::move(array)};
        }
        case QJsonValue::Object:
            return {fromJsonObject(json.toObject())};
        default:
            return {nullptr};
    }
}

QJsonValue toJson(const DefaultsValue& value);

QJsonObject toJsonObject(const DefaultsDictionary& dictionary) {
    QJsonObject object;
    for (const auto& [key, element] : dictionary)
        object.insert(QString::fromStdString(key), toJson(element));
    return object;
}

QJsonValue toJson(const DefaultsValue& value) {
    struct Visitor {
        QJsonValue operator()(std::nullptr_t) const { return QJsonValue::Null; }
        QJsonValue operator()(bool b) const { return b; }
        QJsonValue operator()(std::int64_t i) const { return static_cast<qint64>(i); }
        QJsonValue operator()(double d) const { return d; }
        QJsonValue operator()(const std::string& s) const { return QString::fromStdString(s); }
        QJsonValue operator()(const DefaultsArray& array) const {
            QJsonArray result;
            for (const DefaultsValue& element : array)
                result.append(toJson(element));
            return result;
        }
        QJsonValue operator()(const DefaultsDictionary& dictionary) const {
            return toJsonObject(dictionary);
        }
    };
    return std::visit(Visitor{}, value.value);
}

}  // namespace

std::optional<DefaultsValue> parseJson(std::string_view text, std::string& error) {
    QJsonParseError parseError{};
    const QJsonDocument document = QJsonDocument::fromJson(
        QByteArray(text.data(), static_cast<qsizetype>(text.size())), &parseError);
    if (parseError.error != QJsonParseError::NoError) {
        error = parseError.errorString().toStdString() + " at character " +
                std::to_string(parseError.offset);
        return std::nullopt;
    }
    if (document.isArray())
        return fromJson(document.array());
    if (document.isObject())
        return fromJson(document.object());
    error = "the text holds neither a JSON object nor a JSON array";
    return std::nullopt;
}

std::string jsonText(const DefaultsDictionary& object) {
    return QJsonDocument(toJsonObject(object)).toJson(QJsonDocument::Indented).toStdString();
}

}  // namespace keyvane
