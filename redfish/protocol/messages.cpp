#include "redfish/protocol/messages.hpp"

#include <array>
#include <cstddef>
#include <utility>

namespace dp_redfish {
namespace {

using dp_support::json_value;

// As DMTF's Base registry defines them, word for word. Sorted by id.
constexpr std::array base_messages = std::to_array<registry_message>({
    {"AccessUnauthorized", "Indicates that the request did not contain valid credentials.",
     "Unauthorized.", "", "Critical", "Resubmit the request with valid credentials."},
    {"AccountModified", "Indicates that the account was successfully modified.",
     "The account was successfully modified.", "", "OK", "None."},
    {"AccountRemoved", "Indicates that the account was successfully removed.",
     "The account was successfully removed.", "", "OK", "None."},
    {"ActionNotSupported",
     "Indicates that the action supplied with the `POST` operation is not supported by the "
     "resource.",
     "The action %1 is not supported by the resource.", "s", "Critical",
     "Check the Actions property in the resource for the supported actions."},
    {"ActionParameterDuplicate",
     "Indicates that the action was supplied with a duplicated action parameter in the request "
     "body.",
     "The action %1 was submitted with more than one value for the parameter %2.", "ss", "Warning",
     "Resubmit the action with only one instance of the action parameter in the request body if "
     "the operation failed."},
    {"ActionParameterMissing",
     "Indicates that the action requested was missing an action parameter that is required to "
     "process the action.",
     "The action %1 requires the parameter %2 to be present in the request body.", "ss", "Critical",
     "Supply the action with the required parameter in the request body when the request is "
     "resubmitted."},
    {"ActionParameterNotSupported",
     "Indicates that the parameter supplied for the action is not supported on the resource.",
     "The parameter %1 for the action %2 is not supported on the target resource.", "ss", "Warning",
     "Remove the parameter supplied and resubmit the request if the operation failed."},
    {"ActionParameterUnknown",
     "Indicates that an action was submitted but an action parameter supplied did not match any of "
     "the known parameters.",
     "The action %1 was submitted with the invalid parameter %2.", "ss", "Warning",
     "Correct the invalid action parameter and resubmit the request if the operation failed."},
    {"ActionParameterValueError", "Indicates that a parameter was given an invalid value.",
     "The value for the parameter %1 in the action %2 is invalid.", "ss", "Warning",
     "Correct the value for the parameter in the request body and resubmit the request if the "
     "operation failed."},
    {"ActionParameterValueFormatError",
     "Indicates that a parameter was given the correct value type but the format of the value is "
     "not supported.",
     "The value '%1' for the parameter %2 in the action %3 is not a format that the parameter can "
     "accept.",
     "sss", "Warning",
     "Correct the value for the parameter in the request body and resubmit the request if the "
     "operation failed."},
    {"ActionParameterValueNotInList",
     "Indicates that a parameter was given the correct value type but the value of that parameter "
     "was not supported.  The value is not in an enumeration.",
     "The value '%1' for the parameter %2 in the action %3 is not in the list of acceptable "
     "values.",
     "sss", "Warning",
     "Choose a value from the enumeration list that the implementation can support and resubmit "
     "the request if the operation failed."},
    {"ActionParameterValueTypeError",
     "Indicates that a parameter was given the wrong value type, such as when a number is supplied "
     "for a parameter that requires a string.",
     "The value '%1' for the parameter %2 in the action %3 is not a type that the parameter can "
     "accept.",
     "sss", "Warning",
     "Correct the value for the parameter in the request body and resubmit the request if the "
     "operation failed."},
    {"ArraySizeTooLong",
     "Indicates that the size of the array exceeded the maximum number of elements.",
     "The array provided for property %1 exceeds the size limit %2.", "sn", "Warning",
     "Resubmit the request with an appropriate array size."},
    {"ArraySizeTooShort",
     "Indicates that the size of the array is less than the minimum number of elements.",
     "The array provided for property %1 is under the minimum size limit %2.", "sn", "Warning",
     "Resubmit the request with an appropriate array size."},
    {"AuthenticationTokenRequired",
     "Indicates that the request could not be performed because an authentication token was not "
     "provided.",
     "The request could not be performed because an authentication token was not provided.", "",
     "Critical", "Obtain an authentication token and resubmit the request."},
    {"CreateLimitReachedForResource",
     "Indicates that no more resources can be created on the resource as it has reached its create "
     "limit.",
     "The create operation failed because the resource has reached the limit of possible "
     "resources.",
     "", "Critical",
     "Either delete resources and resubmit the request if the operation failed or do not resubmit "
     "the request."},
    {"Created", "Indicates that all conditions of a successful create operation were met.",
     "The resource was created successfully.", "", "OK", "None."},
    {"EmptyJSON",
     "Indicates that the request body contained an empty JSON object when one or more properties "
     "are expected in the body.",
     "The request body submitted contained an empty JSON object and the service is unable to "
     "process it.",
     "", "Warning", "Add properties in the JSON object and resubmit the request."},
    {"EventBufferExceeded",
     "Indicates undelivered events may have been lost due to a lack of buffer space in the "
     "service.",
     "Undelivered events may have been lost due to exceeding the event buffer.", "", "Warning",
     "None."},
    {"EventSubscriptionLimitExceeded",
     "Indicates that an event subscription establishment was requested but the operation failed "
     "due to the number of simultaneous connections exceeding the limit of the implementation.",
     "The event subscription failed due to the number of simultaneous subscriptions exceeding the "
     "limit of the implementation.",
     "", "Critical",
     "Reduce the number of other subscriptions before trying to establish the event subscription "
     "or increase the limit of simultaneous subscriptions, if supported."},
    {"GeneralError",
     "Indicates that a general error has occurred.  Use in `@Message.ExtendedInfo` is discouraged. "
     " When used in `@Message.ExtendedInfo`, implementations are expected to include a "
     "`Resolution` property with this message and provide a service-defined resolution to indicate "
     "how to resolve the error.",
     "A general error has occurred.  See Resolution for information on how to resolve the error, "
     "or @Message.ExtendedInfo if Resolution is not provided.",
     "", "Critical", "None."},
    {"HeaderInvalid", "Indicates that a request header is invalid.", "Header '%1' is invalid.", "s",
     "Critical", "Resubmit the request with a valid request header."},
    {"HeaderMissing", "Indicates that a required request header is missing.",
     "Required header '%1' is missing in the request.", "s", "Critical",
     "Resubmit the request with the required request header."},
    {"InsufficientPrivilege",
     "Indicates that the credentials associated with the established session do not have "
     "sufficient privileges for the requested operation.",
     "There are insufficient privileges for the account or credentials associated with the current "
     "session to perform the requested operation.",
     "", "Critical",
     "Either abandon the operation or change the associated access rights and resubmit the request "
     "if the operation failed."},
    {"InsufficientStorage",
     "Indicates that the operation could not be completed due to a lack of storage or memory "
     "available to the service.",
     "Insufficient storage or memory available to complete the request.", "", "Critical",
     "Increase the free storage space available to the service and resubmit the request."},
    {"InternalError",
     "Indicates that the request failed for an unknown internal error but that the service is "
     "still operational.",
     "The request failed due to an internal service error.  The service is still operational.", "",
     "Critical", "Resubmit the request.  If the problem persists, consider resetting the service."},
    {"InvalidURI",
     "Indicates that the operation encountered a URI that does not correspond to a valid resource.",
     "The URI %1 was not found.", "s", "Critical", "Provide a valid URI and resubmit the request."},
    {"MalformedJSON", "Indicates that the request body was malformed JSON.",
     "The request body submitted was malformed JSON and could not be parsed by the receiving "
     "service.",
     "", "Critical", "Ensure that the request body is valid JSON and resubmit the request."},
    {"MaximumErrorsExceeded",
     "Indicates that so many errors have occurred that the reporting service cannot return them "
     "all.",
     "Too many errors have occurred to report them all.", "", "Critical",
     "Resolve other reported errors and retry the current operation."},
    {"NoOperation",
     "Indicates that the requested operation will not perform any changes on the service.",
     "The request body submitted contain no data to act upon and no changes to the resource took "
     "place.",
     "", "Warning", "Add properties in the JSON object and resubmit the request."},
    {"NoValidSession",
     "Indicates that the operation failed because a valid session is required in order to access "
     "any resources.",
     "There is no valid session established with the implementation.", "", "Critical",
     "Establish a session before attempting any operations."},
    {"OperationNotAllowed",
     "Indicates that the HTTP method in the request is not allowed on this resource.",
     "The HTTP method is not allowed on this resource.", "", "Critical", "None."},
    {"OperationTimeout",
     "Indicates that one of the internal operations necessary to complete the request timed out.  "
     "An example of this is when an internal service provider is unable to complete the request, "
     "such as in aggregation or RDE.",
     "A timeout internal to the service occurred as part of the request.  Partial results may have "
     "been returned.",
     "", "Warning",
     "Resubmit the request.  If the problem persists, consider resetting the service or provider."},
    {"PasswordChangeRequired",
     "Indicates that the password for the account provided must be changed before accessing the "
     "service.  The password can be changed with a `PATCH` to the `Password` property in the "
     "manager account resource instance.  Implementations that provide a default password for an "
     "account may require a password change prior to first access to the service.",
     "The password provided for this account must be changed before access is granted.  PATCH the "
     "Password property for this account located at the target URI '%1' to complete this process.",
     "s", "Critical",
     "Change the password for this account using a PATCH to the Password property at the URI "
     "provided."},
    {"PasswordComplexityNotMet",
     "Indicates that the password for the account provided does not meet the password complexity "
     "requirements of the service.  The password for the account was not changed.",
     "The password provided for this account does not meet the password complexity requirements of "
     "the service.",
     "", "Critical",
     "Resubmit the request with a password that meets the password complexity requirements as "
     "specified by the `PasswordGuidanceMessage` property in the `AccountService` resource."},
    {"PasswordIncorrectLength",
     "Indicates that the password for the account provided does not meet the password length "
     "requirements of the service.  The password for the account was not changed.",
     "The password provided for this account does not meet the password length requirements of the "
     "service.",
     "", "Critical",
     "Resubmit the request with a password that meets the password length requirements as "
     "specified by the `MinPasswordLength` and `MaxPasswordLength` properties in the "
     "`AccountService` resource."},
    {"PayloadTooLarge",
     "Indicates that the supplied payload is too large to be accepted by the service.",
     "The supplied payload exceeds the maximum size supported by the service.", "", "Critical",
     "Check that the supplied payload is correct and supported by this service."},
    {"PreconditionFailed",
     "Indicates that the ETag supplied did not match the current ETag of the resource.",
     "The ETag supplied did not match the ETag required to change this resource.", "", "Critical",
     "Try the operation again using the appropriate ETag."},
    {"PropertyDuplicate", "Indicates that a duplicate property was included in the request body.",
     "The property %1 was duplicated in the request.", "s", "Warning",
     "Remove the duplicate property from the request body and resubmit the request if the "
     "operation failed."},
    {"PropertyMissing",
     "Indicates that a required property was not supplied as part of the request.",
     "The property %1 is a required property and must be included in the request.", "s", "Warning",
     "Ensure that the property is in the request body and has a valid value and resubmit the "
     "request if the operation failed."},
    {"PropertyNotUpdated",
     "Indicates that a property was not updated due to an internal service error, but the service "
     "is still functional.",
     "The property %1 was not updated due to an internal service error.  The service is still "
     "operational.",
     "s", "Critical",
     "Resubmit the request.  If the problem persists, check for additional messages and consider "
     "resetting the service."},
    {"PropertyNotWritable",
     "Indicates that a property was given a value in the request body, but the property is a "
     "read-only property.",
     "The property %1 is a read-only property and cannot be assigned a value.", "s", "Warning",
     "Remove the property from the request body and resubmit the request if the operation failed."},
    {"PropertyUnknown", "Indicates that an unknown property was included in the request body.",
     "The property %1 is not in the list of valid properties for the resource.", "s", "Warning",
     "Remove the unknown property from the request body and resubmit the request if the operation "
     "failed."},
    {"PropertyValueConflict",
     "Indicates that the requested write of a property value could not be completed because of a "
     "conflict with another property value.",
     "The property '%1' could not be written because its value would conflict with the value of "
     "the '%2' property.",
     "ss", "Warning", "None."},
    {"PropertyValueError", "Indicates that a property was given an invalid value.",
     "The value provided for the property %1 is not valid.", "s", "Warning",
     "Correct the value for the property in the request body and resubmit the request if the "
     "operation failed."},
    {"PropertyValueExternalConflict",
     "Indicates that the requested write of a property value could not be completed due to "
     "conflicts with other configurations in the service managed with non-Redfish interfaces.",
     "The property '%1' with the requested value of '%2' could not be written because the value is "
     "not available due to a configuration conflict.",
     "ss", "Warning", "None."},
    {"PropertyValueFormatError",
     "Indicates that a property was given the correct value type but the format of the value is "
     "not supported.",
     "The value '%1' for the property %2 is not a format that the property can accept.", "ss",
     "Warning",
     "Correct the value for the property in the request body and resubmit the request if the "
     "operation failed."},
    {"PropertyValueIncorrect",
     "Indicates that the requested write of a property value could not be completed because of an "
     "incorrect value of the property.  Examples include values that do not match a regular "
     "expression requirement, passwords that do not match the implementation constraints, or "
     "specifying an invalid URI in a reference property.",
     "The property '%1' with the requested value of '%2' could not be written because the value is "
     "not acceptable for the property.",
     "ss", "Warning", "None."},
    {"PropertyValueModified",
     "Indicates that a property was given the correct value type but the value of that property "
     "was modified.  Examples are truncated or rounded values.",
     "The property %1 was assigned the value '%2' due to modification by the service.", "ss",
     "Warning", "None."},
    {"PropertyValueNotInList",
     "Indicates that a property was given the correct value type but the value of that property "
     "was not supported.  The value is not in an enumeration.",
     "The value '%1' for the property %2 is not in the list of acceptable values.", "ss", "Warning",
     "Choose a value from the enumeration list that the implementation can support and resubmit "
     "the request if the operation failed."},
    {"PropertyValueOutOfRange",
     "Indicates that a property was given the correct value type but the value of that property is "
     "outside the supported range.",
     "The value '%1' for the property %2 is not in the supported range of acceptable values.", "ss",
     "Warning",
     "Correct the value for the property in the request body and resubmit the request if the "
     "operation failed."},
    {"PropertyValueTypeError",
     "Indicates that a property was given the wrong value type, such as when a number is supplied "
     "for a property that requires a string.",
     "The value '%1' for the property %2 is not a type that the property can accept.", "ss",
     "Warning",
     "Correct the value for the property in the request body and resubmit the request if the "
     "operation failed."},
    {"QueryCombinationInvalid",
     "Indicates the request contains multiple query parameters and that two or more of them cannot "
     "be used together.",
     "Two or more query parameters in the request cannot be used together.", "", "Warning",
     "Remove one or more of the query parameters and resubmit the request if the operation "
     "failed."},
    {"QueryNotSupported", "Indicates that query is not supported on the implementation.",
     "Querying is not supported by the implementation.", "", "Warning",
     "Remove the query parameters and resubmit the request if the operation failed."},
    {"QueryNotSupportedOnOperation",
     "Indicates that query is not supported with the given operation, such as when the `$expand` "
     "query is attempted with a `PATCH` operation.",
     "Querying is not supported with the requested operation.", "", "Warning",
     "Remove the query parameters and resubmit the request if the operation failed."},
    {"QueryNotSupportedOnResource",
     "Indicates that query is not supported on the given resource, such as when the `$skip` query "
     "is attempted on a resource that is not a collection.",
     "Querying is not supported on the requested resource.", "", "Warning",
     "Remove the query parameters and resubmit the request if the operation failed."},
    {"QueryParameterOutOfRange",
     "Indicates that a query parameter was provided that is out of range for the given resource.  "
     "This can happen with values that are too low or that exceed what is possible for the "
     "supplied resource, such as when a page is requested that is beyond the last page.",
     "The value '%1' for the query parameter %2 is out of range %3.", "sss", "Warning",
     "Reduce the value for the query parameter to a value that is within range, such as a start or "
     "count value that is within bounds of the number of resources in a collection or a page "
     "number that is within the range of valid pages."},
    {"QueryParameterUnsupported", "Indicates that a query parameter is not supported.",
     "Query parameter '%1' is not supported.", "s", "Warning",
     "Correct or remove the query parameter and resubmit the request."},
    {"QueryParameterValueFormatError",
     "Indicates that a query parameter was given the correct value type but the format of the "
     "value is not supported.",
     "The value '%1' for the parameter %2 is not a format that the parameter can accept.", "ss",
     "Warning",
     "Correct the value for the query parameter in the request and resubmit the request if the "
     "operation failed."},
    {"QueryParameterValueTypeError",
     "Indicates that a query parameter was given the wrong value type, such as when a number is "
     "supplied for a query parameter that requires a string.",
     "The value '%1' for the query parameter %2 is not a type that the parameter can accept.", "ss",
     "Warning",
     "Correct the value for the query parameter in the request and resubmit the request if the "
     "operation failed."},
    {"ResetRequired",
     "Indicates that a component reset is required for changes, error recovery, or operations to "
     "complete.",
     "In order to apply changes, recover from errors, or complete the operation, a component reset "
     "is required with the Reset action URI '%1' and ResetType '%2'.",
     "ss", "Warning", "Perform the required reset action on the specified component."},
    {"ResourceAlreadyExists",
     "Indicates that a resource change or creation was attempted but that the operation cannot "
     "proceed because the resource already exists.",
     "The requested resource of type %1 with the property %2 with the value '%3' already exists.",
     "sss", "Critical", "Do not repeat the create operation as the resource was already created."},
    {"ResourceCannotBeDeleted",
     "Indicates that a delete operation was attempted on a resource that cannot be deleted.",
     "The delete request failed because the resource requested cannot be deleted.", "", "Critical",
     "Do not attempt to delete a non-deletable resource."},
    {"ResourceInUse",
     "Indicates that a change was requested to a resource but the change was rejected due to the "
     "resource being in use or transition.",
     "The change to the requested resource failed because the resource is in use or in transition.",
     "", "Warning", "Remove the condition and resubmit the request if the operation failed."},
    {"ResourceMissingAtURI",
     "Indicates that the operation expected an image or other resource at the provided URI but "
     "none was found.  Examples of this are in requests that require URIs such as firmware "
     "updates.",
     "The resource at the URI '%1' was not found.", "s", "Critical",
     "Place a valid resource at the URI or correct the URI and resubmit the request."},
    {"ResourceNotFound",
     "Indicates that the operation expected a resource identifier that corresponds to an existing "
     "resource but one was not found.",
     "The requested resource of type %1 named '%2' was not found.", "ss", "Critical",
     "Provide a valid resource identifier and resubmit the request."},
    {"RestrictedRole",
     "Indicates that the operation was not successful because the role is restricted.",
     "The operation was not successful because the role '%1' is restricted.", "s", "Warning",
     "No resolution is required.  For standard roles, consider using the role specified in the "
     "AlternateRoleId property in the Role resource."},
    {"ServiceShuttingDown",
     "Indicates that the operation failed because the service is shutting down, such as when the "
     "service reboots.",
     "The operation failed because the service is shutting down and can no longer take incoming "
     "requests.",
     "", "Critical",
     "When the service becomes available, resubmit the request if the operation failed."},
    {"ServiceTemporarilyUnavailable", "Indicates the service is temporarily unavailable.",
     "The service is temporarily unavailable.  Retry in %1 seconds.", "s", "Critical",
     "Wait for the indicated retry duration and retry the operation."},
    {"SessionLimitExceeded",
     "Indicates that a session establishment was requested but the operation failed due to the "
     "number of simultaneous sessions exceeding the limit of the implementation.",
     "The session establishment failed due to the number of simultaneous sessions exceeding the "
     "limit of the implementation.",
     "", "Critical",
     "Reduce the number of other sessions before trying to establish the session or increase the "
     "limit of simultaneous sessions, if supported."},
    {"StringValueTooLong",
     "Indicates that a string value passed to the given resource was longer than the maximum "
     "allowed length.  An example is when an implementation has imposed a shorter maximum length "
     "than that allowed by the specification.",
     "The string '%1' exceeds the length limit %2.", "sn", "Warning",
     "Resubmit the request with an appropriate string length."},
    {"StringValueTooShort",
     "Indicates that a string value passed to the given resource was shorter than the minimum "
     "required length.  An example is when an implementation has imposed a greater minimum length "
     "than that required by the specification.  This message also applies to cases of empty "
     "strings where the minimum string length is 1.",
     "The string '%1' was under the minimum required length %2.", "sn", "Warning",
     "Resubmit the request with an appropriate string length."},
    {"Success", "Indicates that all conditions of a successful operation were met.",
     "The request completed successfully.", "", "OK", "None."},
    {"UnrecognizedRequestBody",
     "Indicates that the service encountered an unrecognizable request body that could not even be "
     "interpreted as malformed JSON.",
     "The service detected a malformed request body that it was unable to interpret.", "",
     "Warning", "Correct the request body and resubmit the request if it failed."},
});

constexpr message_registry dmtf_base{"Base",
                                     "1.22.1",
                                     "Base Message Registry",
                                     "The messages of the Base registry that this service uses",
                                     "DMTF",
                                     base_messages};

// The message with that id, or GeneralError.
const registry_message& message_named(std::string_view id) {
    const registry_message* const found = dmtf_base.find(id);
    return found != nullptr ? *found : *dmtf_base.find("GeneralError");
}

}  // namespace

std::string message_text(std::string_view text, const std::vector<std::string>& arguments) {
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool is_placeholder =
            text[i] == '%' && i + 1 < text.size() && text[i + 1] >= '1' && text[i + 1] <= '9';
        if (!is_placeholder) {
            result += text[i];
            continue;
        }
        const auto index = static_cast<std::size_t>(text[++i] - '1');
        result += index < arguments.size() ? arguments[index] : std::string();
    }
    return result;
}

json_value message_json(const message& text) {
    const registry_message& known = message_named(text.id);
    std::string words = message_text(known.text, text.arguments);
    if (!text.reason.empty()) {
        words += ' ';
        words += text.reason;
    }
    json_value result = json_value::object({{"@odata.type", "#Message.v1_3_0.Message"},
                                            {"MessageId", dmtf_base.message_id(known.id)},
                                            {"Message", std::move(words)},
                                            {"MessageArgs", json_value(text.arguments)},
                                            {"MessageSeverity", known.severity},
                                            {"Resolution", known.resolution}});
    if (!text.related_property.empty()) {
        result.set("RelatedProperties", std::vector<std::string>{text.related_property});
    }
    return result;
}

answer error_answer(unsigned status, const std::vector<message>& messages) {
    json_value list = json_value::array();
    for (const auto& text : messages) {
        list.push_back(message_json(text));
    }
    json_value error = json_value::object();
    if (messages.size() == 1) {
        error.set("code", *list.items.front().find("MessageId"));
        error.set("message", *list.items.front().find("Message"));
    } else {
        const registry_message& general = message_named("GeneralError");
        error.set("code", dmtf_base.message_id(general.id));
        error.set("message", general.text);
    }
    error.set("@Message.ExtendedInfo", std::move(list));
    return {status, json_value::object({{"error", std::move(error)}})};
}

const message_registry& base_registry() {
    return dmtf_base;
}

}  // namespace dp_redfish
