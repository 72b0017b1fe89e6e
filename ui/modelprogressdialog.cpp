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

void ModelProgressDialog::handleProgressStarted(int minimum, int maximum, const QString &text)
{
    setLabelText(text);
    setRange(minimum, maximum);
    setValue(minimum);
}

void ModelProgressDialog::handleProgressUpdated(int value)
{
    setValue(value);
}
