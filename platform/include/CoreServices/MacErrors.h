// The results of the functions of CoreServices and the Process Manager.

#ifndef HALVORIX_PLATFORM_MACERRORS_H
#define HALVORIX_PLATFORM_MACERRORS_H

enum
{
    nsvErr = -35,     // no such volume
    ioErr = -36,      // something else went wrong with the file system
    fnfErr = -43,     // no such file or folder
    wPrErr = -44,     // the volume cannot be written
    paramErr = -50,   // a null or impossible argument
    memFullErr = -108,
    procNotFound = -600,
    diffVolErr = -1303,      // FSCompareFSRefs: they are on different volumes
    errFSBadFSRef = -1401,   // no FSRef that was ever handed out
    errFSBadInfoBitmap = -1405,
    errFSMissingCatInfo = -1406,
    errFSNotAFolder = -1407,
    errFSNameTooLong = -1410,
    errFSNoMoreItems = -1417,
    errFSBadItemCount = -1418,
    errFSRefsDifferent = -1420,
    errFSBadIteratorFlags = -1422,
    errFSIteratorNotFound = -1423,   // no iterator, or one that was closed
    errFSIteratorNotSupported = -1424,
    errFSOperationNotSupported = -1426,
    pathTooLongErr = -2110,   // FSRefMakePath: the buffer is too small
    afpAccessDenied = -5000,
    kUTCUnderflowErr = -8850,
    kUTCOverflowErr = -8851
};

#endif
