#ifndef HOSTEVENTS_H
#define HOSTEVENTS_H

/// Names of the events between the host and the desk, spelled once. Both sides compare them letter by letter.
namespace HostEvents {

// Sent by the desk.
constexpr char CloseRun[] = "close_run";
constexpr char CurrentRunFinishParams[] = "current_run_finish_params";
constexpr char DatabaseRacerCheckin[] = "database_racer_checkin";
constexpr char FinishRun[] = "finish_run";
constexpr char InsertHit[] = "insert_hit";
constexpr char InsertTab[] = "insert_tab";
constexpr char LocalRequestAnswer[] = "local_request_answer";
constexpr char PrintDocument[] = "print_document";
constexpr char PrintResults[] = "print_results";
constexpr char PrintRun[] = "print_run";
constexpr char ReadCarsList[] = "read_cars_list";
constexpr char ReloadRunsArchive[] = "reload_runs_archive";
constexpr char RemoteControlAnswer[] = "remote_control_answer";
constexpr char ReplaceRunPreset[] = "replace_run_preset";
constexpr char SettingsDialog[] = "settings_dialog";
constexpr char StartRun[] = "start_run";
constexpr char SwitchCar[] = "switch_car";
constexpr char UpdateClientData[] = "update_client_data";
constexpr char UpdateLocalClient[] = "update_local_client";
constexpr char UpdateRemotePayments[] = "update_remote_payments";
constexpr char UpdateRemotePrices[] = "update_remote_prices";
constexpr char UpdateRunParams[] = "update_run_params";
constexpr char WriteSysLog[] = "write_sys_log";

// Received by the desk.
constexpr char ApiKeyUpdated[] = "api_key_updated";
constexpr char CarsListChanged[] = "cars_list_changed";
constexpr char ClientAccountData[] = "client_account_data";
constexpr char CurrentTabChanged[] = "current_tab_changed";
constexpr char LoadComplete[] = "load_complete";
constexpr char LocalClientData[] = "local_client_data";
constexpr char LocalRequest[] = "local_request";
constexpr char NewRunStarted[] = "new_run_started";
constexpr char NextRunInfo[] = "next_run_info";
constexpr char OnlineServiceStatus[] = "online_service_status";
constexpr char PaymentsUpdateData[] = "payments_update_data";
constexpr char PreparationCleared[] = "preparation_cleared";
constexpr char QueryRacerFromDatabase[] = "query_racer_from_database";
constexpr char RaceMode[] = "race_mode";
constexpr char RefreshRunInfo[] = "refresh_run_info";
constexpr char RefreshRunResults[] = "refresh_run_results";
constexpr char RemoteControlData[] = "remote_control_data";
constexpr char RequestQueueStart[] = "request_queue_start";
constexpr char RunClosed[] = "run_closed";
constexpr char RunSavedToDb[] = "run_saved_to_db";
constexpr char RunsArchiveList[] = "runs_archive_list";
constexpr char SendSettingsDialogs[] = "send_settings_dialogs";
constexpr char ServerStatus[] = "server_status";
constexpr char TimingParams[] = "timing_params";
constexpr char TrackIdUpdated[] = "track_id_updated";
constexpr char TransponderHit[] = "transponder_hit";

} // namespace HostEvents

#endif // HOSTEVENTS_H
