#pragma once

#include "foundation/VLThread.h"
#include "tools/Tool.h"

/// A run over many jobs. Shows itself in the status bar, whose length is the number of selected clients,
/// unless `total` is 0. Ends, and ends whatever the status bar shows, with the object. One worker.
class ProgressSteps {
public:
    ProgressSteps(const ToolContext& context, qsizetype total)
        : m_progress(*context.progress),
          m_total(total),
          m_clients(context.selectedServices().size()),
          m_run(begin()) {}
    ~ProgressSteps() { m_progress.endStatusProgress(); }
    ProgressSteps(const ProgressSteps&) = delete;
    ProgressSteps& operator=(const ProgressSteps&) = delete;

    void step() {
        if (m_total == 0) return;
        for (++m_done; m_shown < m_done * m_clients / m_total; ++m_shown)
            m_progress.incrementStatusProgress();
    }
    [[nodiscard]] bool isStopped() const { return m_progress.isCancelled(m_run) || VLThread::isCancelled(); }

private:
    [[nodiscard]] int begin() const {
        if (m_total == 0) return m_progress.beginRun();
        m_progress.startStatusProgress();
        return m_progress.currentRun();
    }

    TaskProgress& m_progress;
    const qsizetype m_total, m_clients;
    const int m_run;
    qsizetype m_done = 0, m_shown = 0;
};
