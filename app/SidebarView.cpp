#include "app/SidebarView.h"

#include "app/AppState.h"
#include "app/CreateSiteView.h"
#include "app/ImportSiteView.h"
#include "app/State.h"
#include "app/Values.h"

namespace harbor {

SidebarView::SidebarView(std::shared_ptr<AppState> app)
    : app_(std::move(app))
    , createRequests_(
          NotificationCenter::shared().subscribe("showCreateSite", [this](auto const&) { openCreate(); }))
    , importRequests_(NotificationCenter::shared().subscribe(
          "showImportSite", [this](std::string const& file) { openImport(toQt(file)); }))
{
}

SidebarView::~SidebarView() = default;

void SidebarView::openCreate()
{
    if (createSheet_ || importSheet_)
        return;
    createSheet_ = makeState<CreateSiteView>(app_);
    connect(createSheet_.get(), &CreateSiteView::closeRequested, this, &SidebarView::closeSheet);
    Q_EMIT sheetsChanged();
}

void SidebarView::openImport(QString const& file)
{
    auto const choose = [&] {
        if (!file.isEmpty())
            importSheet_->fileChosen(QUrl::fromLocalFile(file));
    };
    if (importSheet_)
        choose();
    if (createSheet_ || importSheet_)
        return;
    importSheet_ = makeState<ImportSiteView>(app_);
    connect(importSheet_.get(), &ImportSiteView::closeRequested, this, &SidebarView::closeSheet);
    choose();
    Q_EMIT sheetsChanged();
}

void SidebarView::closeSheet()
{
    // What the sheet has begun may still be running.
    if (createSheet_)
        disconnect(createSheet_.get(), nullptr, this, nullptr);
    if (importSheet_)
        disconnect(importSheet_.get(), nullptr, this, nullptr);
    auto const closingCreate = std::exchange(createSheet_, nullptr);
    auto const closingImport = std::exchange(importSheet_, nullptr);
    Q_EMIT sheetsChanged();
}

}  // namespace harbor
