#pragma once

#include "app/AppInterface.h"

#include <QObject>
#include <QPointer>
#include <QWidget>

/// Sets up the views of the main window by their names, and those of a pane when it is made later.
class InterfaceSetup : public QObject, public AppInterface {
    Q_OBJECT
public:
    explicit InterfaceSetup(QWidget& window);

    void observeNewTaskSelection() override;
    void setUpMainWindow() override;
    void keepToolViews() override;
    void registerForDraggedTypes() override;
    void markTitleCellsAsLeaves() override;
    void setInterCellSpacing() override;
    void setScopeImages() override;
    void layOutVarispot() override;
    void setDoubleClickActions() override;

    /// The same steps for a pane that did not exist at the window's set-up.
    void setUpPane(QWidget* pane);

private:
    template <typename View>
    [[nodiscard]] View* find(const char* name) const;

    QWidget* m_root;  ///< below which the views are looked for
    bool m_isSetUp = false;
};
