#pragma once

/**
 * The actions of the command line. Each returns true on success. The order of the operations is the order of
 * their slots. Main thread.
 */
class CActionInterface
{
public:
    virtual ~CActionInterface() {}

    virtual bool InstallAction() = 0;
    virtual bool UninstallAction() = 0;
    virtual bool StartAction() = 0;
    virtual bool StopAction() = 0;
    virtual bool RunAction() = 0;
    virtual bool ListConfig() = 0;

    /** Prints the options. @param programName  as the operator typed it. Always true. */
    virtual bool PrintHelp(char* programName);

    /** Prints product and release on one line. Always true. */
    virtual bool PrintVersion();
};
