#include "common/statusOfException.h"

#include "common/exceptions.h"

#include <new>

namespace kvdm {

HRESULT statusOfCurrentException() noexcept
{
    try {
        throw;
    } catch (const suOleException& failure) {
        return failure.status;
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const suInvalidArgumentException&) {
        return E_INVALIDARG;
    } catch (...) {
        return E_FAIL;
    }
}

} // namespace kvdm
