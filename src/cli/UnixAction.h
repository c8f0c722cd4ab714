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

    /** Installs nothing; prints what has to be configured. */
    bool InstallAction() override;

    /** Stops the daemon if one runs. Removes no file. */
    bool UninstallAction() override;

    /** RunAction under another banner. */
    bool StartAction() override;

    /** Sends the daemon its signal and doesn't wait for its end. */
    bool StopAction() override;

    /**
     * Checks the configuration, starts the daemon and waits up to 5 seconds for it to be seen. The daemon
     * itself comes back from here too, with false, when its work has ended.
     */
    bool RunAction() override;

    /** Does nothing. */
    bool ListConfig() override;

protected:
    HelperFunctionInterface* mHelper; ///< owned
};
