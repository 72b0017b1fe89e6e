#pragma once

#include "editing/lightedit.h"

#include <QDialog>
#include <QHash>

#include <functional>

class DeviceDictionary;
class MapModel;
class PropertyMapper;
class QCheckBox;
class QComboBox;
class QDialogButtonBox;
class QGridLayout;
class QLabel;
class QLineEdit;
class QSpinBox;

// "Edit Light(s)": the properties of one or many lights side by side with what the user
// wants them to become. Every editor starts at "No Change"; the Current column shows the
// value the lights share, or "Various" where they differ. Apply hands the choices to the
// applier (which makes them one undoable step) and shows the result; Reset puts every
// editor back to "No Change".
class LightPropertyEditor final : public QDialog
{
    Q_OBJECT
public:
    static const QString kNoChange;
    // Applies a request; returns why it was refused, or nothing when it was made.
    using Applier = std::function<std::optional<QString>(const LightEdit::Request &)>;

    LightPropertyEditor(const MapModel &model, QList<quint64> lightUids,
                        const DeviceDictionary &dictionary, const PropertyMapper &mapper,
                        Applier applier, QWidget *parent = nullptr);

    const LightEdit::Summary &summary() const { return m_summary; }
    // What the editors say now.
    LightEdit::Request request() const;
    // The Current text shown for a field ("Name", "DMX Address", "Port", "Fixture Type" or a
    // property token).
    QString currentText(const QString &field) const;
    // The message of the last refused apply, empty when none.
    QString lastProblem() const { return m_lastProblem; }

public slots:
    bool apply();
    void reset();
    void accept() override;

private:
    struct PropertyEditor
    {
        QString token;
        QComboBox *combo = nullptr;
        QSpinBox *spin = nullptr;
        QVector<qint64> optionValues;
    };

    void build();
    void buildRows();
    void refresh();
    void addRow(const QString &label, const QString &tip, const QString &key, QWidget *editor);
    QLabel *makeCurrentLabel(const QString &key);

    const MapModel &m_model;
    QList<quint64> m_uids;
    const DeviceDictionary &m_dictionary;
    const PropertyMapper &m_mapper;
    Applier m_applier;
    LightEdit::Summary m_summary;
    QString m_lastProblem;

    QLabel *m_headerLabel = nullptr;
    class QScrollArea *m_area = nullptr;
    QGridLayout *m_grid = nullptr;
    int m_row = 0;
    QHash<QString, QLabel *> m_currentLabels;
    QLineEdit *m_nameLineEdit = nullptr;
    QSpinBox *m_dmxAddressSpinBox = nullptr;
    QCheckBox *m_consecutiveCheckBox = nullptr;
    QSpinBox *m_portSpinBox = nullptr;
    QComboBox *m_fixtureTypeComboBox = nullptr;
    QVector<PropertyEditor> m_propertyEditors;
    QLabel *m_problemLabel = nullptr;
    QDialogButtonBox *m_buttons = nullptr;
};
