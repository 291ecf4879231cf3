#include "processing_progress_dialog.h"

#include <QFont>
#include <QIcon>
#include <QPixmap>
#include <QString>

#include "cloud-service.h"
#include "str_table.h"

ProcessingProgressDialog::ProcessingProgressDialog() : QProgressDialog(nullptr, Qt::WindowFlags()) {
    const QFont font(QStringLiteral("Arial"), -1, -1, false);
    // Read from the bundle on disk rather than the embedded resources, so the icon follows the
    // bundle the user started.
    const QString icon_path = QString::fromUtf8(Service::GetRootVelmoraResourceInstallPath().c_str()) +
                              QStringLiteral("/images/ico_72_velmora.png");

    setWindowTitle(StrTable::LoadStr(98));
    // Loaded at once through a pixmap: a QIcon made straight from a missing file is not null, and
    // the dialog would claim an icon it cannot draw.
    setWindowIcon(QIcon(QPixmap(icon_path)));
    setWindowFlags(Qt::WindowTitleHint | Qt::WindowSystemMenuHint);
    setValue(0);
    setRange(0, 100);
    setLabelText(StrTable::LoadStr(445));
    setFont(font);
    setFixedWidth(400);
    // setModal would make the dialog application-modal; the later call narrows it to its window.
    setModal(true);
    setWindowModality(Qt::WindowModal);
    setStyleSheet(QStringLiteral(" QProgressDialog { background-color: WhiteSmoke; \n  vertical-align: middle } "));
}

ProcessingProgressDialog::~ProcessingProgressDialog() = default;
