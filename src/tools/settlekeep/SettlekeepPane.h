#pragma once

class QWidget;
class ToolController;

/// The pane of the preference backups; `controller` is a SettlekeepController and outlives the pane.
[[nodiscard]] QWidget* makeSettlekeepPane(ToolController& controller, QWidget* parent);
