#pragma once

#include "devices/propertyvalues.h"

#include <QJsonObject>
#include <QString>
#include <QStringList>

// How one token is presented to the user, once for the whole system: display name, help
// text, categories, access code and allowed values; for RDM parameters also the parameter
// id and payload size.
class PropertyEntry
{
public:
    // Reads one element of a property map's "PropertyMap" array. Missing keys keep their
    // defaults (access -1, no bounds, no options).
    static PropertyEntry fromJson(const QJsonObject &object);

    QString tokenName() const { return m_tokenName; }
    QString stringName() const { return m_stringName; }
    QString description() const { return m_description; }
    QStringList category() const { return m_category; }
    // Three-digit permission code in the manner of file modes (666, 644, 444, ...); stored
    // and handed out, -1 when the map gives none.
    int access() const { return m_access; }
    int parameterID() const { return m_parameterID; }
    int payloadSize() const { return m_payloadSize; }
    const PropertyValues &values() const { return m_values; }

private:
    QString m_tokenName;
    QString m_stringName;
    QString m_description;
    QStringList m_category;
    int m_access = -1;
    int m_parameterID = 0;
    int m_payloadSize = 0;
    PropertyValues m_values;
};
