// The requests a graph window serves, and the records that travel with them.
#pragma once

#include <memory>
#include <vector>

#include "base/text.h"
#include "graphics/event_sink.h"
#include "graphics/gui_channel.h"
#include "graphics/popup_menus.h"

class CDataSource;
struct SSPFunctionParams;

enum EGraphRequest : int {
    GR_GET_SETTINGS = 100,
    GR_COMMIT_SETTINGS,
    GR_GET_FUNCTION,
    GR_SET_FUNCTION,
    GR_SET_X,
    GR_STATUS,
    GR_ADD_POPUP,
    GR_SET_POPUP,
    GR_DEL_POPUP,
};

// Creation flags of NEW GRAPH: bit 0 hides the X axis strips, bit 1 the Y axis strips.
enum EGraphFlags : int { GRAPH_NO_X_AXIS = 1, GRAPH_NO_Y_AXIS = 2 };

// Served by the display: a graph in a cell.
struct SGraphCreate {
    Text name;
    Text displayName;
    int inputs = 1;
    int row = 0, column = 0;
    int flags = 0;
    EventSinkPtr sink;
    WindowSlotPtr slot; // out
    int code = 0;       // out: why the cell was refused
};

// SET graph Y: a function at an index, with its parameters and data source.
struct SFunctionRequest {
    int index = 0;
    bool create = false; // no function there yet: make one of params->Type()
    std::shared_ptr<SSPFunctionParams> params;
    bool keepSource = false;
    std::shared_ptr<CDataSource> source;
    int code = 0; // out
};

struct SGraphStatusQuery {
    int key = -1;
    std::vector<Text> args;
    Text out;
};
