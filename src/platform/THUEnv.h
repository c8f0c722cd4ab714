#pragma once

#include <string>

/**
 * Paths of the product and of this program.
 *
 * Each function builds its text from fixed words at every call. Nothing is cached or read from the
 * environment, and no path ends in a slash. Any thread.
 */

std::string GetTHBasePath();          ///< install root of all products, /usr/tarnv
std::string GetTHPath();              ///< the product, /usr/tarnv/tarnhaven
std::string GetTHWebserverPath();     ///< the web server, below the base path and not below the product
std::string GetTHWebserverTempPath(); ///< folder in which the web server's user may write
std::string GetTHTempPath();          ///< folder of the lock files, below the base path too
std::string GetTHBinPath();           ///< programs of the product
std::string GetTHLogPath();           ///< logs of the product
std::string GetTHPerfMonLogDirName(); ///< name of this program's log folder
std::string GetTHPerfMonBinName();    ///< name of this program
std::string GetSystemTempPath();      ///< temporary folder of the system
std::string GetTxlogCfgPath();        ///< the product's log configuration tool
std::string GetTHPerfMonLogPath();    ///< folder of the diagnostic log
std::string GetTHPerfMonBinPath();    ///< this program

/** Name of today's diagnostic log, root.MMDDYY_00001.log by the local date of the call. */
std::string GetTHPerfMonLogFileName();

/** Path of today's diagnostic log. */
std::string GetTHPerfMonLogFilePath();

/** The file name of a program: `name` unchanged, as programs have no extension on this platform. */
std::string AppendBinExt(std::string name);

/** `first`, a slash, `second`. A slash at the end of `first` stays, so there may be two. */
std::string AppendPaths(std::string first, std::string second);

/** `text` between two double quotes. Nothing inside is escaped. */
std::string GetDoubleQuatedPath(std::string text);
