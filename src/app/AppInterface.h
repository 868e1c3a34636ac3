#pragma once

/// What the controller's set-up asks of the window, step by step. The controller keeps the order and calls
/// each step once, on the main thread; a step whose views do not exist yet is made good when they come.
class AppInterface {
public:
    virtual ~AppInterface() = default;

    /// The tasks that can be added follow the application that is chosen for them.
    virtual void observeNewTaskSelection() = 0;
    /// The content border at the bottom, and the look of what stands on it.
    virtual void setUpMainWindow() = 0;
    /// Tool views survive being swapped out; the settings box goes into its scroll view.
    virtual void keepToolViews() = 0;
    virtual void registerForDraggedTypes() = 0;
    virtual void markTitleCellsAsLeaves() = 0;
    virtual void setInterCellSpacing() = 0;
    virtual void setScopeImages() = 0;
    virtual void layOutVarispot() = 0;
    virtual void setDoubleClickActions() = 0;
};
