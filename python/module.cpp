// SPDX-License-Identifier: Apache-2.0
#include <exception>
#include <pybind11/pybind11.h>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>

#include "client/Connection.h"
#include "client/find.h"
#include "python/WithoutGil.h"
#include "python/binding.h"
#include "python/values.h"
#include "simserver/protocol/Refused.h"

namespace papython {

namespace {

PyObject* exceptionClass(py::module_& module, const char* name, const char* text, PyObject* base) {
    py::exception<void> type(module, name, base);
    type.doc() = text;
    return type.release().ptr();
}

py::object exceptionOf(PyObject* type, const std::exception& error) {
    return py::reinterpret_borrow<py::object>(type)(toPython(std::string(error.what())));
}

void raise(const py::object& exception) {
    PyErr_SetObject(py::type::handle_of(exception).ptr(), exception.ptr());
}

PyObject* notConnected = nullptr;
PyObject* notFound = nullptr;
PyObject* ambiguous = nullptr;
PyObject* refused = nullptr;

void translate(std::exception_ptr thrown) {
    try {
        std::rethrow_exception(std::move(thrown));
    } catch (const paclient::NotConnected& error) {
        raise(exceptionOf(notConnected, error));
    } catch (const paclient::NotFound& error) {
        const py::object exception = exceptionOf(notFound, error);
        exception.attr("suggestions") = toPython(error.suggestions);
        raise(exception);
    } catch (const paclient::Ambiguous& error) {
        raise(exceptionOf(ambiguous, error));
    } catch (const simserver::Refused& error) {
        raise(exceptionOf(refused, error));
    } catch (const std::system_error& error) {
        const py::object arguments =
            py::make_tuple(error.code().value(), toPython(std::string(error.what())));
        PyErr_SetObject(PyExc_OSError, arguments.ptr());
    } catch (const py::builtin_exception&) {
        throw;
    } catch (const std::invalid_argument& error) {
        raise(exceptionOf(PyExc_ValueError, error));
    } catch (const std::out_of_range& error) {
        raise(exceptionOf(PyExc_ValueError, error));
    } catch (const std::runtime_error& error) {
        raise(exceptionOf(PyExc_RuntimeError, error));
    }
}

}  // namespace

PYBIND11_MODULE(publicaddress, module) {
    module.doc() = "Sees and controls a networked public-address system.";
    notConnected = exceptionClass(module, "NotConnected", "There is no connection to the server.",
                                  PyExc_ConnectionError);
    notFound = exceptionClass(
        module, "NotFound", "Nothing has this number or name; `suggestions` are the nearest names.",
        PyExc_LookupError);
    ambiguous = exceptionClass(module, "Ambiguous", "Several have a name that begins so.",
                               PyExc_LookupError);
    refused = exceptionClass(module, "Refused",
                             "A simulated server does not do what is asked of its own side.",
                             PyExc_RuntimeError);
    py::register_exception_translator(translate);
    bindRecords(module);
    bindChanges(module);
    bindConnection(module);
    bindOperations(module);
    bindSchedules(module);
    bindSimulatedServer(module);
    bindAnnouncements(module);
}

}  // namespace papython
