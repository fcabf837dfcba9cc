/*
 * kr-scm-worker: speaks to the service manager of one Windows computer for the console.
 *
 * This program links Samba's libraries, which are under the GNU General Public License, version 3
 * or any later version; so is this program. SPDX-License-Identifier: GPL-3.0-or-later
 *
 * usage: kr-scm-worker [--auth-file FILE | --anonymous] [--smb-port N | --tcp N] HOST
 *
 * It reads one request a line from standard input and answers each with one line:
 *     query SERVICE | start SERVICE | stop SERVICE | control SERVICE CODE
 *     ok [STATE] | fail CODE TEXT
 * The connection is made for the first request and kept. The end of the input ends the program.
 */
#include <errno.h>
#include <stdbool.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/stat.h>
#include <time.h>
#include <unistd.h>

#include <core/error.h>
#include <credentials.h>
#include <dcerpc.h>
#include <gen_ndr/ndr_svcctl.h>
#include <param.h>
#include <talloc.h>
#include <tevent.h>

/* Seconds after which a request ends this program, should nobody be left to do that. */
#define BACKSTOP 5
#define LONGEST_LINE 1024

/* Numbers of the Windows service manager. */
#define CODE_DENIED 5
#define CODE_WRONG_REQUEST 87
#define CODE_LOGON_FAILURE 1326
#define CODE_NOT_REACHABLE 1722

/* Rights on the manager and on a service. */
#define RIGHT_CONNECT 0x0001
#define RIGHT_QUERY 0x0004
#define RIGHT_START 0x0010
#define RIGHT_STOP 0x0020
#define RIGHT_CONTROL 0x0180 /* interrogate and user-defined codes */

struct options {
    const char* host;
    const char* auth_file;
    bool anonymous;
    const char* smb_port; /* of the pipe's server in place of 445 */
    const char* tcp;      /* RPC over TCP to that port in place of the pipe */
};

struct worker {
    TALLOC_CTX* memory;
    struct tevent_context* events;
    struct loadparm_context* settings;
    struct cli_credentials* credentials;
    const char* binding;
    struct dcerpc_pipe* pipe; /* NULL: not connected */
    struct policy_handle manager;
    FILE* answers;
};

/* How a request ended; text is NULL for numbers of the service manager. */
struct outcome {
    uint32_t code;
    const char* text;
    bool lost; /* the connection is of no use any more */
};

static const struct outcome DONE = {0, NULL, false};

static struct outcome failure_of_connection(NTSTATUS status) {
    struct outcome outcome = {CODE_NOT_REACHABLE, nt_errstr(status), true};
    if (NT_STATUS_EQUAL(status, NT_STATUS_ACCESS_DENIED))
        outcome.code = CODE_DENIED;
    else if (NT_STATUS_EQUAL(status, NT_STATUS_LOGON_FAILURE))
        outcome.code = CODE_LOGON_FAILURE;
    return outcome;
}

static struct outcome outcome_of(NTSTATUS status, WERROR result) {
    struct outcome outcome = DONE;
    if (!NT_STATUS_IS_OK(status))
        return failure_of_connection(status);
    outcome.code = W_ERROR_V(result);
    return outcome;
}

/* One call of the interface; `call` is the structure of that number. */
static NTSTATUS invoke(struct worker* worker, uint32_t number, void* call) {
    return dcerpc_binding_handle_call(worker->pipe->binding_handle, NULL, &ndr_table_svcctl, number,
                                      worker->memory, call);
}

static void disconnect(struct worker* worker) { TALLOC_FREE(worker->pipe); }

static struct outcome connect_manager(struct worker* worker) {
    struct svcctl_OpenSCManagerW call = {0};
    struct outcome outcome;
    NTSTATUS status;
    if (worker->pipe != NULL)
        return DONE;
    status = dcerpc_pipe_connect(worker->memory, &worker->pipe, worker->binding, &ndr_table_svcctl,
                                 worker->credentials, worker->events, worker->settings);
    if (!NT_STATUS_IS_OK(status)) {
        worker->pipe = NULL;
        return failure_of_connection(status);
    }
    call.in.MachineName = NULL;
    call.in.access_mask = RIGHT_CONNECT;
    call.out.handle = &worker->manager;
    status = invoke(worker, NDR_SVCCTL_OPENSCMANAGERW, &call);
    outcome = outcome_of(status, call.out.result);
    if (outcome.code != 0)
        outcome.lost = true;
    return outcome;
}

static struct outcome open_service(struct worker* worker, const char* name, uint32_t rights,
                                   struct policy_handle* service) {
    struct svcctl_OpenServiceW call = {0};
    NTSTATUS status;
    call.in.scmanager_handle = &worker->manager;
    call.in.ServiceName = name;
    call.in.access_mask = rights;
    call.out.handle = service;
    status = invoke(worker, NDR_SVCCTL_OPENSERVICEW, &call);
    return outcome_of(status, call.out.result);
}

static void close_service(struct worker* worker, struct policy_handle* service) {
    struct svcctl_CloseServiceHandle call = {0};
    call.in.handle = service;
    call.out.handle = service;
    (void)invoke(worker, NDR_SVCCTL_CLOSESERVICEHANDLE, &call);
}

static struct outcome query_state(struct worker* worker, struct policy_handle* service,
                                  uint32_t* state) {
    struct SERVICE_STATUS reported = {0};
    struct svcctl_QueryServiceStatus call = {0};
    NTSTATUS status;
    call.in.handle = service;
    call.out.service_status = &reported;
    status = invoke(worker, NDR_SVCCTL_QUERYSERVICESTATUS, &call);
    *state = reported.state;
    return outcome_of(status, call.out.result);
}

static struct outcome start_service(struct worker* worker, struct policy_handle* service) {
    struct svcctl_StartServiceW call = {0};
    NTSTATUS status;
    call.in.handle = service;
    status = invoke(worker, NDR_SVCCTL_STARTSERVICEW, &call);
    return outcome_of(status, call.out.result);
}

static struct outcome control_service(struct worker* worker, struct policy_handle* service,
                                      uint32_t code) {
    struct SERVICE_STATUS reported = {0};
    struct svcctl_ControlService call = {0};
    NTSTATUS status;
    call.in.handle = service;
    call.in.control = (enum SERVICE_CONTROL)code;
    call.out.service_status = &reported;
    status = invoke(worker, NDR_SVCCTL_CONTROLSERVICE, &call);
    return outcome_of(status, call.out.result);
}

struct verb {
    const char* name;
    uint32_t rights;
};

static const struct verb VERBS[] = {{"query", RIGHT_QUERY},
                                    {"start", RIGHT_START},
                                    {"stop", RIGHT_STOP},
                                    {"control", RIGHT_CONTROL}};

static struct outcome run_verb(struct worker* worker, const struct verb* verb, const char* name,
                               uint32_t code, uint32_t* state) {
    struct policy_handle service = {0};
    struct outcome outcome = connect_manager(worker);
    if (outcome.code == 0)
        outcome = open_service(worker, name, verb->rights, &service);
    if (outcome.code != 0)
        return outcome;
    if (strcmp(verb->name, "query") == 0)
        outcome = query_state(worker, &service, state);
    else if (strcmp(verb->name, "start") == 0)
        outcome = start_service(worker, &service);
    else
        outcome = control_service(worker, &service, code);
    if (!outcome.lost)
        close_service(worker, &service);
    return outcome;
}

static void answer_failure(struct worker* worker, uint32_t code, const char* text) {
    fprintf(worker->answers, "fail %u %s\n", (unsigned)code, text != NULL ? text : "");
}

/* A kept connection may have been closed by the other side; then a fresh one gets the request. */
static void carry_out(struct worker* worker, const struct verb* verb, const char* name,
                      uint32_t code) {
    uint32_t state = 0;
    const bool kept = worker->pipe != NULL;
    struct outcome outcome = run_verb(worker, verb, name, code, &state);
    if (outcome.lost) {
        disconnect(worker);
        if (kept)
            outcome = run_verb(worker, verb, name, code, &state);
        if (outcome.lost)
            disconnect(worker);
    }
    if (outcome.code != 0)
        answer_failure(worker, outcome.code,
                       outcome.text != NULL ? outcome.text
                                            : get_friendly_werror_msg(W_ERROR(outcome.code)));
    else if (strcmp(verb->name, "query") == 0)
        fprintf(worker->answers, "ok %u\n", (unsigned)state);
    else
        fprintf(worker->answers, "ok\n");
}

static void handle_line(struct worker* worker, char* line) {
    char* rest = NULL;
    const char* word = strtok_r(line, " \r\n", &rest);
    const char* name = strtok_r(NULL, " \r\n", &rest);
    const char* number = strtok_r(NULL, " \r\n", &rest);
    uint32_t code = SVCCTL_CONTROL_STOP;
    size_t i;
    for (i = 0; word != NULL && name != NULL && i < sizeof VERBS / sizeof VERBS[0]; ++i) {
        const bool control = strcmp(VERBS[i].name, "control") == 0;
        if (strcmp(word, VERBS[i].name) != 0 || control != (number != NULL))
            continue;
        if (control)
            code = (uint32_t)strtoul(number, NULL, 10);
        carry_out(worker, &VERBS[i], name, code);
        return;
    }
    answer_failure(worker, CODE_WRONG_REQUEST, "the request makes no sense");
}

static bool read_options(int count, char** words, struct options* options) {
    int i;
    for (i = 1; i < count; ++i) {
        const char** value = NULL;
        if (strcmp(words[i], "--anonymous") == 0) {
            options->anonymous = true;
            continue;
        }
        if (strcmp(words[i], "--auth-file") == 0)
            value = &options->auth_file;
        else if (strcmp(words[i], "--smb-port") == 0)
            value = &options->smb_port;
        else if (strcmp(words[i], "--tcp") == 0)
            value = &options->tcp;
        if (value != NULL) {
            if (++i == count)
                return false;
            *value = words[i];
        } else if (words[i][0] == '-' || options->host != NULL) {
            return false;
        } else {
            options->host = words[i];
        }
    }
    return options->host != NULL;
}

static bool is_private(const char* path) {
    struct stat info;
    return stat(path, &info) == 0 && S_ISREG(info.st_mode) && (info.st_mode & 077) == 0;
}

/* The user's Kerberos tickets, which have to be in a file: Samba reads no other kind of cache. */
static bool have_ticket_file(void) {
    const char* name = getenv("KRB5CCNAME");
    char path[64];
    if (name == NULL || *name == '\0') {
        snprintf(path, sizeof path, "/tmp/krb5cc_%u", (unsigned)getuid());
        name = path;
    } else if (strncmp(name, "FILE:", 5) == 0) {
        name += 5;
    }
    return access(name, R_OK) == 0;
}

/* Without a ticket no name is guessed: wrong guesses lock accounts. */
static bool take_ticket(struct worker* worker) {
    const char* error = NULL;
    cli_credentials_set_kerberos_state(worker->credentials, CRED_USE_KERBEROS_REQUIRED,
                                       CRED_SPECIFIED);
    if (have_ticket_file() && cli_credentials_set_ccache(worker->credentials, worker->settings,
                                                         NULL, CRED_SPECIFIED, &error) == 0)
        return true;
    fprintf(stderr, "there is no Kerberos ticket; get one with kinit\n");
    return false;
}

static bool set_credentials(struct worker* worker, const struct options* options) {
    worker->credentials = cli_credentials_init(worker->memory);
    cli_credentials_set_conf(worker->credentials, worker->settings);
    if (options->anonymous) {
        cli_credentials_set_anonymous(worker->credentials);
        return true;
    }
    if (options->auth_file == NULL)
        return take_ticket(worker);
    if (!is_private(options->auth_file)) {
        fprintf(stderr, "%s is not a file that only its owner may read\n", options->auth_file);
        return false;
    }
    if (cli_credentials_parse_file(worker->credentials, options->auth_file, CRED_SPECIFIED))
        return true;
    fprintf(stderr, "%s can't be read\n", options->auth_file);
    return false;
}

/* The libraries write their own messages to standard output. */
static bool divert_messages(struct worker* worker) {
    const int answers = dup(STDOUT_FILENO);
    worker->answers = answers >= 0 ? fdopen(answers, "w") : NULL;
    if (worker->answers == NULL || dup2(STDERR_FILENO, STDOUT_FILENO) < 0)
        return false;
    setvbuf(worker->answers, NULL, _IOLBF, 0);
    return true;
}

static bool prepare(struct worker* worker, const struct options* options) {
    worker->memory = talloc_new(NULL);
    if (!NT_STATUS_IS_OK(dcerpc_init()))
        return false;
    worker->events = tevent_context_init(worker->memory);
    worker->settings = loadparm_init_global(false);
    lpcfg_set_cmdline(worker->settings, "log level", "0");
    lpcfg_set_cmdline(worker->settings, "client min protocol", "SMB2_02");
    if (options->smb_port != NULL)
        lpcfg_set_cmdline(worker->settings, "smb ports", options->smb_port);
    if (!set_credentials(worker, options))
        return false;
    if (options->tcp != NULL)
        worker->binding = talloc_asprintf(worker->memory, "ncacn_ip_tcp:%s[%s%s]", options->host,
                                          options->tcp, options->anonymous ? "" : ",seal");
    else
        worker->binding = talloc_asprintf(worker->memory, "ncacn_np:%s[\\pipe\\svcctl%s]",
                                          options->host, options->anonymous ? "" : ",seal");
    return true;
}

int main(int count, char** words) {
    struct options options = {0};
    struct worker worker = {0};
    char line[LONGEST_LINE];
    if (!read_options(count, words, &options)) {
        fprintf(stderr, "usage: kr-scm-worker [--auth-file FILE | --anonymous] "
                        "[--smb-port N | --tcp N] HOST\n");
        return 2;
    }
    if (!divert_messages(&worker) || !prepare(&worker, &options))
        return 1;
    while (fgets(line, sizeof line, stdin) != NULL) {
        alarm(BACKSTOP);
        handle_line(&worker, line);
        alarm(0);
    }
    return 0;
}
