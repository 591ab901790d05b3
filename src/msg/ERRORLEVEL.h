#pragma once

/// Level of a message; compared with a responder's threshold as a number.
enum ERRORLEVEL : int
{
    MSG_INFO = 0, ///< progress and successful results
    MSG_FAIL = 1, ///< information for the log's reader, and tests that said no
    MSG_ERROR = 3 ///< a failed step or a failed call into the system
};

/// Kind of a user-interface message.
enum RESTYPE : int
{
    RES_FAIL = 0,    ///< final result: failed
    RES_SUCCESS = 1, ///< final result: succeeded
    RES_INFO = 2     ///< running information and progress lines
};
