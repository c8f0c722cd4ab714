#pragma once

/** The actions of the program. */
enum eCommandActions : int
{
    eActionInvalid = 0,
    eActionInstall = 1,
    eActionUninstall = 2,
    eActionStart = 3,
    eActionStop = 4,
    eActionRun = 5,
    eActionListConfig = 6,
    eActionHelp = 7,
    eActionVersion = 8
};
