#pragma once

#include <QList>
#include <QObject>
#include <QRectF>
#include <QString>

// A named set of lights, in the user's order. The group re-announces itself whenever one
// of its members changes so that views showing the group stay current.
class Group final : public QObject
{
    Q_OBJECT
public:
    // The working selection of the layout canvas travels as a group of this name; it is
    // never written to a map file.
    static QString selectionGroupName() { return QStringLiteral("Tamsin Selection Group"); }

    // Group kinds. A plain group is a named set (0, or 1 for one made from a selection on
    // the canvas). A synchronised group's members show the same thing at the same time. A
    // chasing group steps through its members in order, lightsPerStep() lights at a time,
    // when it is highlighted.
    enum Type : int { PlainType = 0, SelectionType = 1, SynchronisedType = 2, ChasingType = 3 };

    explicit Group(QObject *parent = nullptr);

    int type() const { return m_type; }
    void setType(int type);
    bool isChasing() const { return m_type == ChasingType; }

    // How many members light together in one step of a chase (1 or more).
    int lightsPerStep() const { return m_lightsPerStep; }
    void setLightsPerStep(int lights);

    quint64 uid() const { return m_uid; }
    void setUid(quint64 uid) { m_uid = uid; }

    QString name() const { return m_name; }
    void setName(const QString &name);
    bool isSelectionGroup() const { return m_name == selectionGroupName(); }

    // The group's "o" value, stored and written as it is.
    int oValue() const { return m_o; }
    void setOValue(int o);

    // Member light uids. Changing membership of a group held by a model goes through
    // MapModel so that the member connections follow.
    const QList<quint64> &children() const { return m_children; }
    bool hasChild(quint64 lightUid) const { return m_children.contains(lightUid); }
    void appendChild(quint64 lightUid);
    bool removeChild(quint64 lightUid);
    // Replaces the members at once (one announcement).
    void setChildren(const QList<quint64> &lightUids);

    // Bounding box of the members' positions. It starts inverted so that the first member
    // included sets both corners.
    double minX() const { return m_minX; }
    double minY() const { return m_minY; }
    double maxX() const { return m_maxX; }
    double maxY() const { return m_maxY; }
    bool hasBounds() const { return m_minX <= m_maxX && m_minY <= m_maxY; }
    QRectF bounds() const;
    void resetBounds();
    void includeInBounds(double x, double y);

public slots:
    void handleUpdatedLight(quint64 lightUid);

signals:
    void updatedGroup(quint64 uid);

private:
    static constexpr double kBoundsStart = 2147483647.0;

    int m_type = 0;
    quint64 m_uid = 0;
    QString m_name = QStringLiteral("New Group");
    int m_o = 40;
    int m_lightsPerStep = 1;
    QList<quint64> m_children;
    double m_minX = kBoundsStart;
    double m_minY = kBoundsStart;
    double m_maxX = -kBoundsStart;
    double m_maxY = -kBoundsStart;
};
