#pragma once

#include "outlook/object_model.h"

namespace tf::testing {

// The sub-folder of parent with this name; none when there is no such folder.
inline outlook::FolderPtr childNamed(const outlook::FolderPtr& parent, const QString& name) {
    const outlook::FoldersPtr folders = parent->Folders();
    for (long i = 1; i <= folders->Count(); ++i) {
        if (folders->Item(i)->Name() == name) {
            return folders->Item(i);
        }
    }
    return nullptr;
}

}  // namespace tf::testing
