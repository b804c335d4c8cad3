// The configuration that this device hands to the extenders of the mesh.
#pragma once

// Multicasts what the platform has for them; without anything of ours the extenders only look at
// their own again. kOk or kFailure.
int sendUpdateConifgCtrlToExtender();
