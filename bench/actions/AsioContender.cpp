#include "Scenarios.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/post.hpp>

namespace Bench {
namespace {

/// An io_context that one thread runs, as its documents advise for that case: with the hint 1, and with a work
/// guard, so that it does not stop when it has run out of handlers.
class AsioContender {
public:
    explicit AsioContender(bool) {}

    void post(const Item& item) {
        boost::asio::post(context, [item] { run(item); });
    }

    void runAll() {
        context.poll();
    }

private:
    boost::asio::io_context context{1};
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard =
        boost::asio::make_work_guard(context);
};

const bool isAdded = addContender<AsioContender>("Asio");

} // namespace
} // namespace Bench
