#pragma once

#include "devices/propertyentry.h"

#include <QByteArray>
#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <optional>

// The property map of the whole program: for every token, how it is shown and which
// values it takes. Built from the maker's own map and the RDM map, in that order, so that
// the RDM map wins where both name a token.
class PropertyMapper final : public QObject
{
    Q_OBJECT
public:
    static const QString kPropertyMapPath;
    static const QString kRdmPropertyMapPath;
    // Texts that lookups return instead of failing; callers test for them.
    static const QString kUnsupportedToken;
    static const QString kUnsupportedProperty;
    static const QString kUnsupportedMapping;

    // The program's instance, loaded from the compiled-in maps on the first call. The
    // resources must have been registered before (DeviceResources::registerResources()).
    static PropertyMapper *instance();

    // An empty mapper; tests and tools fill it with loadFile() or loadJson().
    explicit PropertyMapper(QObject *parent = nullptr);

    // Loads one map file on top of what is loaded. A file that is missing, unreadable or
    // not a JSON object logs "File" path "is empty or improperly formatted".
    void loadFile(const QString &path);
    // The same for the bytes of a file; `path` only names it in the log line.
    void loadJson(const QByteArray &bytes, const QString &path);
    // Enters one property; a later one with the same token or display name replaces the
    // earlier in that index.
    void addProperty(const PropertyEntry &property);

    std::optional<PropertyEntry> property(const QString &token) const;
    bool hasProperty(const QString &token) const { return m_byToken.contains(token); }
    // Tokens in no particular order.
    QStringList tokens() const { return m_byToken.keys(); }
    int count() const { return m_byToken.size(); }

    // "DMX Address" for DMX_OFFSET; "Unsupported Token: " + token when unknown.
    QString displayName(const QString &token) const;
    // The reverse: the token shown as `name`; "Unsupported Property: " + name when unknown.
    QString tokenForDisplayName(const QString &name) const;

    // The text the user sees for a value of a token, and the value for a text the user gave.
    // Values are decimal integers in text form, or free text for properties that list
    // neither options nor bounds (names, addresses). Options map both ways; a ranged
    // property shows its value in decimal and accepts only values inside its bounds.
    // DMX_OFFSET also accepts hexadecimal written with "0x". What cannot be mapped gives
    // "Unsupported Mapping".
    QString valueToText(const QString &token, const QString &value) const;
    QString valueToText(const QString &token, qint64 value) const;
    QString textToValue(const QString &token, const QString &text) const;

private:
    std::optional<qint64> parseNumber(const QString &token, const QString &text) const;

    QHash<QString, PropertyEntry> m_byToken;
    QHash<QString, QString> m_tokenByDisplayName;
};
