#pragma once

#include "core/base/NotificationCenter.h"

#include <QObject>
#include <QtQml/qqmlregistration.h>

#include <memory>

namespace harbor {

class AppState;
class CreateSiteView;
class ImportSiteView;

/// The list of sites and the sheets that add one. Lives while the list is on screen.
class SidebarView : public QObject {
    Q_OBJECT
    QML_NAMED_ELEMENT(SidebarState)
    QML_UNCREATABLE("Made by the main window.")
    Q_MOC_INCLUDE("app/AppState.h")
    Q_MOC_INCLUDE("app/CreateSiteView.h")
    Q_MOC_INCLUDE("app/ImportSiteView.h")
    Q_PROPERTY(harbor::AppState* app READ app CONSTANT)
    Q_PROPERTY(harbor::CreateSiteView* createSheet READ createSheet NOTIFY sheetsChanged)
    Q_PROPERTY(harbor::ImportSiteView* importSheet READ importSheet NOTIFY sheetsChanged)
public:
    explicit SidebarView(std::shared_ptr<AppState> app);
    ~SidebarView() override;

    Q_INVOKABLE void openCreate();
    /// @param file  package that the sheet begins with, or empty; one that is open already turns to it
    Q_INVOKABLE void openImport(QString const& file = {});
    Q_INVOKABLE void closeSheet();

    AppState* app() const { return app_.get(); }
    bool showCreateSheet() const { return createSheet_ != nullptr; }
    CreateSiteView* createSheet() const { return createSheet_.get(); }
    bool showImportSheet() const { return importSheet_ != nullptr; }
    ImportSiteView* importSheet() const { return importSheet_.get(); }

Q_SIGNALS:
    void sheetsChanged();

private:
    std::shared_ptr<AppState> app_;
    std::shared_ptr<CreateSiteView> createSheet_;
    std::shared_ptr<ImportSiteView> importSheet_;
    NotificationCenter::Subscription createRequests_;
    NotificationCenter::Subscription importRequests_;
};

}  // namespace harbor
