#pragma once

#include <QProgressDialog>

// The launcher's one window: a fixed-width, window-modal progress dialog shown while the
// per-user copy is refreshed. Owned by the Launcher; built hidden and touched only on the
// interface thread, where queued progress and label updates reach it.
class ProcessingProgressDialog : public QProgressDialog {
    Q_OBJECT
public:
    // Title, label, icon and size of the moment of construction, so install the translator
    // first. The icon is read from the bundle on disk; a missing file means no icon, not an
    // error. Built hidden; Qt's minimum duration is left at 4 s on purpose, so the dialog may
    // show itself that long after construction even if nobody asks it to.
    ProcessingProgressDialog();
    ~ProcessingProgressDialog() override;
};
