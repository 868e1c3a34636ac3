#pragma once

class QWidget;
class ToolController;

/// The pane of the plug-ins; `controller` is an AddonryController and outlives the pane.
[[nodiscard]] QWidget* makeAddonryPane(ToolController& controller, QWidget* parent);
