#pragma once

#include <string>
#include <sys/types.h>

#include "product/schdlscn/moment.h"
#include "product/schdlscn/task_list.h"
#include "product/schdlscn/wire.h"

namespace schdlscn {

/// Does what is asked by `user`, at `moment`, as far as that needs the list alone: how a task
/// stands is told as without a service, and nothing can be run, nor a report deleted. Nothing in
/// the request says who asks. For one thread.
Answer AnswerRequest(TaskList& list, const Request& request, uid_t user, const Moment& moment);

}  // namespace schdlscn
