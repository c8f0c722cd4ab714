#pragma once

#include "cli/CActionInterface.h"

class HelperFunctionInterface;

/** The actions on Linux hosts. */
class CUnixAction : public CActionInterface
{
public:
    CUnixAction();
    ~CUnixAction() override;
    CUnixAction(const CUnixAction&) = delete;
    CUnixAction& operator=(const CUnixAction&) = delete;

    /** Installs nothing. Prints which setting is mandatory. */
    bool InstallAction() override;

    /** Stops the daemon if one runs. Removes no file. */
    bool UninstallAction() override;

    /** The same as RunAction; only the banner differs. */
    bool StartAction() override;

    /** Sends the stop signal and doesn't wait for the end of the daemon. */
    bool StopAction() override;

    /**
     * Checks the configuration, starts the daemon and waits up to 5 seconds until it runs. In the daemon
     * itself this returns false, when its work has ended.
     */
    bool RunAction() override;

    /** Does nothing. */
    bool ListConfig() override;

protected:
    HelperFunctionInterface* mHelper; ///< owned; null when there is no helper for the platform
};
