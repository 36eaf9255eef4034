// SPDX-License-Identifier: MIT
// Shows what the station tells and sends what is clicked. Texts come from clients that nobody
// trusts: they are set as text, never as HTML.
"use strict";

const LOG_LENGTH = 200;
const RECONNECT_MILLISECONDS = 1000;
const PICTURE_MILLISECONDS = 1000;

const byId = (id) => document.getElementById(id);
let socket = null;
let state = null;

function row(cells, kind) {
    const line = document.createElement("tr");
    if (kind) line.className = kind;
    for (const cell of cells) {
        const field = document.createElement("td");
        field.textContent = String(cell);
        line.append(field);
    }
    return line;
}

function send(command) {
    byId("error").textContent = "";
    if (socket && socket.readyState === WebSocket.OPEN) {
        socket.send(JSON.stringify({ do: command }));
    } else {
        byId("error").textContent = "The station isn't connected.";
    }
}

function showBells(bells) {
    const names = bells.join("\n");
    if (byId("bells").dataset.names === names) return;
    byId("bells").dataset.names = names;
    byId("bells").replaceChildren(...bells.map((bell) => {
        const button = document.createElement("button");
        button.textContent = "Ring: " + bell;
        button.dataset.bell = bell;
        button.addEventListener("click", () => send("ring " + bell));
        return button;
    }));
}

function showState(news) {
    state = news;
    byId("door").textContent = state.door_open ? "open" : "closed";
    byId("light").textContent = state.light_on ? "on" : "off";
    byId("bell").textContent = state.ringing ? "ringing" : "silent";
    byId("clients").textContent = state.booting ? "none, it boots" : String(state.clients);
    showBells(state.bells);
    byId("phones").replaceChildren(...state.phones.map((phone) =>
        row([phone.name, phone.addressee, phone.token, phone.registered ? "yes" : "no"])));
    byId("messages").replaceChildren(...state.messages.map((message) =>
        row([message.mail_box, message.number, message.time, message.camera, message.sender,
            message.seconds, message.seen ? "seen" : "new"])));
    showPicture();
}

function showTraffic(entries) {
    const log = byId("log");
    for (const entry of entries) {
        const binary = entry.binary > 0 ? " + " + entry.binary + " bytes" : "";
        log.prepend(row([(entry.at_ms / 1000).toFixed(3), entry.session, entry.kind, entry.text + binary],
            entry.kind));
    }
    while (log.rows.length > LOG_LENGTH) log.deleteRow(-1);
}

let pictureIsLoading = false;
function showPicture() {
    if (pictureIsLoading) return;
    pictureIsLoading = true;
    byId("picture").src = "/panel/picture.jpg?" + Date.now();
}
for (const end of ["load", "error"]) {
    byId("picture").addEventListener(end, () => { pictureIsLoading = false; });
}

function connect() {
    socket = new WebSocket("ws://" + location.host + "/panel/socket");
    socket.addEventListener("open", () => {
        byId("connection").textContent = "connected";
        byId("log").replaceChildren();
    });
    socket.addEventListener("close", () => {
        byId("connection").textContent = "not connected";
        setTimeout(connect, RECONNECT_MILLISECONDS);
    });
    socket.addEventListener("message", (event) => {
        const news = JSON.parse(event.data);
        if (news.state) showState(news.state);
        if (news.traffic) showTraffic(news.traffic);
        if (news.error) byId("error").textContent = news.error;
    });
}

byId("toggle-door").addEventListener("click", () => send(state && state.door_open ? "close" : "open"));
byId("toggle-light").addEventListener("click", () => send("light"));
byId("disconnect").addEventListener("click", () => send("disconnect"));
byId("reboot").addEventListener("click", () => send("reboot"));
setInterval(showPicture, PICTURE_MILLISECONDS);
connect();
