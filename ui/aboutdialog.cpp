#include "ui/aboutdialog.h"

#include <QDialogButtonBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QPixmap>
#include <QVBoxLayout>

AboutDialog::AboutDialog(const QString &versionText, QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("AboutDialog"));
    setWindowTitle(QStringLiteral("About Orrery"));

    auto *picture = new QLabel(this);
    picture->setObjectName(QStringLiteral("m_pictureLabel"));
    picture->setPixmap(QPixmap(QStringLiteral(":/images/about.png")));
    picture->setAlignment(Qt::AlignTop | Qt::AlignHCenter);

    auto *name = new QLabel(QStringLiteral("Orrery"), this);
    QFont nameFont = name->font();
    nameFont.setPointSizeF(nameFont.pointSizeF() * 2.0);
    nameFont.setBold(true);
    name->setFont(nameFont);

    auto *version = new QLabel(versionText, this);
    version->setObjectName(QStringLiteral("m_versionLabel"));
    version->setFont(QFont(QStringLiteral("Verdana")));
    version->setTextInteractionFlags(Qt::TextSelectableByMouse);

    auto *blurb = new QLabel(QStringLiteral("Commissioning and maintenance of networked LED "
                                            "lighting installations."),
                             this);
    blurb->setWordWrap(true);
    auto *maker = new QLabel(QStringLiteral("Taviren"), this);

    auto *text = new QVBoxLayout;
    text->addWidget(name);
    text->addWidget(version);
    text->addSpacing(8);
    text->addWidget(blurb);
    text->addWidget(maker);
    text->addStretch(1);

    auto *body = new QHBoxLayout;
    body->addWidget(picture);
    body->addSpacing(12);
    body->addLayout(text, 1);

    auto *buttons = new QDialogButtonBox(QDialogButtonBox::Ok, this);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);

    auto *layout = new QVBoxLayout(this);
    layout->addLayout(body);
    layout->addWidget(buttons);
    setMinimumWidth(420);
}
