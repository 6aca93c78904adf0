// The part of the interface that needs Squirrel's headers: the script machine, bindings and plugins.
// Kept by tools/check --fix.
#pragma once

#include <qel/plugins/plugins.h>
#include <qel/script/access.h>
#include <qel/script/async_queue.h>
#include <qel/script/class_binder.h>
#include <qel/script/core_imports.h>
#include <qel/script/functor.h>
#include <qel/script/native_call.h>
#include <qel/script/native_class.h>
#include <qel/script/object.h>
#include <qel/script/object_interfaces.h>
#include <qel/script/signal_class.h>
#include <qel/script/vector_classes.h>
#include <qel/script/vm.h>
#include <qel/script/vm_control.h>
