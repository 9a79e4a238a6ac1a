// An HMI built with QT_NO_KEYWORDS may include everything of the library,
// the generated bus binding and GLib included, after Qt's headers.
#include <QObject>
#include <QString>

#include "vel/vel.h"

namespace {

class HmiModel : public QObject {
public:
    explicit HmiModel(VelComProxyApp* facade) : mFacade(facade) {}
    bool connected() const { return mFacade != nullptr && mFacade->checkProxyAvailable(); }

private:
    VelComProxyApp* mFacade;
};

} // namespace

// Compiled into the Qt host tests: the check is that this unit builds.
bool velHeadersCompileWithoutQtKeywords()
{
    HmiModel model(nullptr);
    return !model.connected();
}
