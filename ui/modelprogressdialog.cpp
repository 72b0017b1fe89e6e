#include "ui/modelprogressdialog.h"

#include "model/mapmodel.h"

ModelProgressDialog::ModelProgressDialog(MapModel &model, QWidget *parent)
    : QProgressDialog(parent)
{
    setWindowModality(Qt::WindowModal);
    setCancelButton(nullptr);
    setMinimumDuration(500);
    setAutoReset(true);
    setAutoClose(true);
    reset();
    connect(&model, &MapModel::progressStarted, this, &ModelProgressDialog::handleProgressStarted);
    connect(&model, &MapModel::progressUpdated, this, &ModelProgressDialog::handleProgressUpdated);
    connect(&model, &MapModel::progressTextChanged, this, &QProgressDialog::setLabelText);
}

// An operation over nothing (clearing an empty map) is over when it starts. Shown, its 0..0
// range would make the dialog a busy indicator that no value ever closes, modal over the
// window and over any message box that follows.
void ModelProgressDialog::handleProgressStarted(int minimum, int maximum, const QString &text)
{
    m_running = maximum > minimum;
    if (!m_running) {
        reset();
        return;
    }
    setLabelText(text);
    setRange(minimum, maximum);
    setValue(minimum);
}

// Reaching the end closes the dialog even when no value came before it: setValue() skips its
// own reset while the dialog waits out its minimum duration.
void ModelProgressDialog::handleProgressUpdated(int value)
{
    if (!m_running)
        return;
    if (value < maximum()) {
        setValue(value);
        return;
    }
    m_running = false;
    reset();
}
