#pragma once

/// The steps of an update, numbered as the window's events are.
enum UpdateEvent : int {
    kEvtUpdateFinished = 1116,            ///< with any result
    kEvtUpdateConnecting = 1117,          ///< kUpdateConnecting
    kEvtUpdateLoadingFiles = 1118,        ///< kUpdateLoadingFiles
    kEvtUpdateUnshown = 1119,             ///< kUpdateUnshown
    kEvtUpdateLoadingIndex = 1120,        ///< kUpdateLoadingIndex
    kEvtUpdateProcessingFailed = 1121,    ///< kUpdateProcessingFailed
    kEvtUpdateLoadingDefinitions = 1122,  ///< kUpdateLoadingDefinitions
    kEvtUpdateInstalling = 1123,          ///< kUpdateInstalling
    kEvtUpdateLoadingNamedFile = 1124,    ///< kUpdateLoadingNamedFile; UpdateRun::LastInfo() has it
    kEvtUpdateNotStarted = 1125,
    kEvtUpdateFromPath = 1126,  ///< an update from a path has been started
};

namespace update {

/// Who an update is told to: the window, or a program for the shell.
class UpdateListener {
public:
    UpdateListener() = default;
    virtual ~UpdateListener() = default;
    UpdateListener(const UpdateListener&) = delete;
    UpdateListener& operator=(const UpdateListener&) = delete;

    /// Called on the thread of the run and on those of the updater's callback.
    virtual void Tell(UpdateEvent event) = 0;
};

}  // namespace update
