#pragma once

/// For --library-log: the library ends the process when the path of its log does not fit 260
/// bytes. Throws CToolError (general) instead.
void CheckLibraryLog();
