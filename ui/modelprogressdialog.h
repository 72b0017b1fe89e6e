#pragma once

#include <QProgressDialog>

class MapModel;

// Shows the model's long operations (clear, load, save) as a progress dialog.
class ModelProgressDialog final : public QProgressDialog
{
    Q_OBJECT
public:
    explicit ModelProgressDialog(MapModel &model, QWidget *parent = nullptr);

private:
    void handleProgressStarted(int minimum, int maximum, const QString &text);
    void handleProgressUpdated(int value);

    bool m_running = false;
};
