#pragma once

#include <QProgressDialog>

// The launcher's one window: a fixed-width, window-modal progress dialog shown while the
// per-user copy is refreshed. Owned by the Launcher; built hidden and touched only on the
// interface thread, where queued progress and label updates reach it.
class ProcessingProgressDialog : public QProgressDialog {
    Q_OBJECT
public:
    ProcessingProgressDialog();
    ~ProcessingProgressDialog() override;
};
