#pragma once

class QWidget;
class ToolController;

/// The pane of the scheduled tasks; `controller` is a CronwellController and outlives the pane.
[[nodiscard]] QWidget* makeCronwellPane(ToolController& controller, QWidget* parent);
