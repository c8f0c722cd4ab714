package tarn.thx;

import java.util.concurrent.CountDownLatch;

/** Waits for good on a thread of a name that can be told from any other. */
public class AdminConsole {
    public static void main(String[] arguments) throws InterruptedException {
        Thread planted = new Thread(AdminConsole::waitForGood, "planted thread of the console");
        planted.start();
        planted.join();
    }

    static void waitForGood() {
        try {
            new CountDownLatch(1).await();
        } catch (InterruptedException end) {
            Thread.currentThread().interrupt();
        }
    }
}

/** The same under another name, for a second process. */
class WebManagement {
    public static void main(String[] arguments) throws InterruptedException {
        AdminConsole.main(arguments);
    }
}
