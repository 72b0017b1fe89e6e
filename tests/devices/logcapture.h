#pragma once

#include <QMessageLogContext>
#include <QStringList>
#include <QtGlobal>

#include <cstring>

// Collects the messages of the "orrery.devices" category while it lives; other messages go
// on to the previous handler. One at a time.
class LogCapture
{
public:
    LogCapture()
    {
        s_lines = &m_lines;
        m_previous = qInstallMessageHandler(&LogCapture::handle);
        s_previous = m_previous;
    }
    ~LogCapture()
    {
        qInstallMessageHandler(m_previous);
        s_lines = nullptr;
    }
    LogCapture(const LogCapture &) = delete;
    LogCapture &operator=(const LogCapture &) = delete;

    const QStringList &lines() const { return m_lines; }
    int count(const QString &fragment) const
    {
        int n = 0;
        for (const QString &line : m_lines)
            n += line.contains(fragment) ? 1 : 0;
        return n;
    }
    void clear() { m_lines.clear(); }

private:
    static void handle(QtMsgType type, const QMessageLogContext &context, const QString &text)
    {
        if (s_lines && context.category && std::strcmp(context.category, "orrery.devices") == 0) {
            s_lines->append(text);
            return;
        }
        if (s_previous)
            s_previous(type, context, text);
    }

    QStringList m_lines;
    QtMessageHandler m_previous = nullptr;
    static inline QStringList *s_lines = nullptr;
    static inline QtMessageHandler s_previous = nullptr;
};
